/* SPDX-License-Identifier: MIT */
/* A table descriptor passed as an iterator. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"

uint32_t release(L2vpnDbIter *iter) {
#ifdef MISTAKE
    (void)iter;
    return L2VPN_DB_L2vpnVplsPwReleaseIter(&g_l2vpnL2vpnVplsPwIntf);
#else
    return L2VPN_DB_L2vpnVplsPwReleaseIter(iter);
#endif
}
