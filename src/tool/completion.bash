# SPDX-License-Identifier: MIT
# Bash completion for l2vpn-db, which computes the completions itself.
_l2vpn_db() {
    local line=${COMP_LINE:0:COMP_POINT}
    local word=${line##*[[:space:]]} breaks=${COMP_WORDBREAKS//[^=:]/}
    mapfile -t COMPREPLY < <("$1" --complete "${line#*[[:space:]]}" 2>/dev/null)
    # l2vpn-db completes after the last comma, bash after the last = or : if COMP_WORDBREAKS has it.
    COMPREPLY=("${COMPREPLY[@]/#/${word%"${word##*,}"}}")
    [[ -z $breaks ]] || COMPREPLY=("${COMPREPLY[@]#"${word%"${word##*["$breaks"]}"}"}")
    [[ ${COMPREPLY[0]-} != *[=/] ]] || compopt -o nospace
}
complete -F _l2vpn_db l2vpn-db
