# SPDX-License-Identifier: MIT
# Bash completion for l2vpn-db: the tool itself knows what a line can go on with.
_l2vpn_db() {
    local line=${COMP_LINE:0:COMP_POINT} word=${COMP_WORDS[COMP_CWORD]}
    mapfile -t COMPREPLY < <("$1" --complete "${line#*[[:space:]]}" 2>/dev/null)
    # What is listed with commas is one word here.
    COMPREPLY=("${COMPREPLY[@]/#/${word%"${word##*,}"}}")
    [[ ${COMPREPLY[0]-} != *[=/] ]] || compopt -o nospace
}
complete -F _l2vpn_db l2vpn-db
