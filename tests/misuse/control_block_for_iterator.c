/* SPDX-License-Identifier: MIT */
/* A control block is the fast iterator only for whoever says so. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"

uint32_t release(void) {
#ifdef MISTAKE
    return L2VPN_DB_L2vpnVplsPwReleaseIter(&g_l2vpnL2vpnVplsPwGlbCb);
#else
    return L2VPN_DB_L2vpnVplsPwReleaseIter((L2vpnDbIter *)&g_l2vpnL2vpnVplsPwGlbCb);
#endif
}
