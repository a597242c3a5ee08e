/* SPDX-License-Identifier: MIT */
/* Has everything that the printers show alive in one frame. */
#include <stddef.h>
#include <stdio.h>

#include "l2vpn_db/l2vpn_vpls_macping.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"

static void look(const void *const *what) {
    printf("%p\n", *what);
}

int main(void) {
    const L2vpnVplsPw pw = {.vrIndex = 1,
                            .pwTunnelId = 7001,
                            .pwTunnelType = 3,
                            .mtu = 1500,
                            .peerIp = 0x0A000002,
                            .svcStatus = {0, 65},
                            .svcCtx = {{0}, {0xC0, 0x00, 0xEE}},
                            .batchVersion = 1,
                            .timeStampSvc = UINT64_C(1) << 40};
    const L2vpnVplsPw empty = {.vrIndex = 0};
    const L2vpnVplsMacping ping = {
        .vrId = 1, .vsiInstId = 100, .macAddr = {0x00, 0x1B, 0x21, 0xAB, 0xCD, 0xEF}};

    char stored[276];
    L2VPN_DB_L2vpnVplsPwSetAllFields(&pw, stored);
    const L2vpnDbRecData whole = {stored, sizeof stored, 0}, part = {stored, 4, 0};

    uint32_t id[4] = {0}, ping_id[4] = {0}, flawed_id[4] = {0x07050008};
    char value[9], ping_value[14];
    L2vpnDbKeyData key = {0}, ping_key = {0}, no_key = {0};
    L2VPN_DB_L2vpnVplsPwSetPrimaryKey(&pw, &key, id, value);
    L2VPN_DB_L2vpnVplsMacpingSetPrimaryKey(&ping, &ping_key, ping_id, ping_value);
    L2vpnDbKeyData too_short = key, flawed = key;
    too_short.keyLength = 8;
    flawed.keyId = flawed_id;

    if (L2VPN_DB_L2vpnVplsPwWrite(&pw) != L2VPN_DB_OK)
        return 1;
    L2vpnDbIter *none = NULL;
    L2vpnDbIter *fast = L2VPN_DB_L2vpnVplsPwCreateFastPriIter(&pw);
    L2vpnDbIter *of_the_store = L2VPN_DB_L2vpnVplsPwCreateInstanceIter(&pw);
    L2vpnVplsPw found;
    L2VPN_DB_L2vpnVplsPwGetNext(fast, &found);
    L2VPN_DB_L2vpnVplsMacpingGlbInit();
    L2vpnVplsMacpingGlbCb locked = g_l2vpnL2vpnVplsMacpingGlbCb;
    locked.cb.spinLock = 1;
    locked.cb.mutex[0] = 1;
    locked.cb.mutex[1] = UINT64_C(1) << 32 | 4242;
    const L2vpnVplsPwGlbCb *block = &g_l2vpnL2vpnVplsPwGlbCb;
    const L2vpnDbTblIntf *table = &g_l2vpnL2vpnVplsPwIntf;

    const void *const all[] = {&pw,       &empty,     &ping,   &whole, &part,        &key,
                               &ping_key, &too_short, &flawed, none,   of_the_store, &found,
                               &locked,   block,      table,   &no_key};
    look(all);
    L2VPN_DB_L2vpnVplsPwReleaseIter(of_the_store);
    return L2VPN_DB_L2vpnVplsPwReleaseIter(fast) == L2VPN_DB_OK ? 0 : 1;
}
