/* SPDX-License-Identifier: MIT */
#include <l2vpn_db/l2vpn_vll_pw.h>
#include <l2vpn_db/memory_store.h>
#include <stdio.h>

int main(void) {
    L2vpnVllPw pw = {.vrIndex = 1, .pwTunnelId = 2, .pwTunnelType = 3};
    L2vpnVllPw same = pw;
    char line[2048];
    if (L2VPN_DB_L2vpnVllPwRead(&same) != L2VPN_STORE_NOT_FOUND ||
        L2VPN_DB_L2vpnVllPwWrite(&pw) != L2VPN_DB_OK ||
        L2VPN_DB_L2vpnVllPwRead(&same) != L2VPN_DB_OK ||
        L2VPN_DB_L2vpnVllPwGetStat(L2VPN_STORE_STAT_INSERTED) != 1 ||
        L2VPN_AST_L2vpnVllPwFormat(L2VPN_AST_WHOLE_RECORD, &same, line, sizeof line, " ") ==
            L2VPN_AST_ERR)
        return 1;
    puts(line);
    return 0;
}
