/* SPDX-License-Identifier: MIT */
#include <l2vpn_db/l2vpn_vpls_pw.h>
#include <stdio.h>

int main(void) {
    L2vpnVplsPw pw = {.vrIndex = 1, .pwTunnelId = 7001, .pwTunnelType = 3, .instanceId = 100};
    pw.batchVersion = 1;
    if (L2VPN_DB_L2vpnVplsPwWrite(&pw) != L2VPN_DB_OK)
        return 1;

    pw.batchVersion = 2; /* partial update: other fields are ignored */
    L2VPN_DB_L2vpnVplsPwUpdateField(&pw, L2VPN_VPLS_PW_FIELD_batchVersion);

    L2vpnVplsPw wanted = {.vrIndex = 1, .instanceId = 100}, found;
    L2vpnDbIter *iter = L2VPN_DB_L2vpnVplsPwCreateVrindexIter(&wanted); /* secondary key */
    while (L2VPN_DB_L2vpnVplsPwGetNext(iter, &found) == L2VPN_DB_OK) {
        char line[1024];
        L2VPN_AST_L2vpnVplsPwFormat(L2VPN_AST_WHOLE_RECORD, &found, line, sizeof line, ", ");
        puts(line);
    }
    return L2VPN_DB_L2vpnVplsPwReleaseIter(iter) == L2VPN_DB_OK ? 0 : 1;
}
