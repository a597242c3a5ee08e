/* SPDX-License-Identifier: MIT */
/* A control block passed as an iterator without a cast. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"

uint32_t release(void) {
#ifdef MISTAKE
    return L2VPN_DB_L2vpnVplsPwReleaseIter(&g_l2vpnL2vpnVplsPwGlbCb);
#else
    return L2VPN_DB_L2vpnVplsPwReleaseIter((L2vpnDbIter *)&g_l2vpnL2vpnVplsPwGlbCb);
#endif
}
