/* SPDX-License-Identifier: MIT */
/* An iterator handle that is dropped and thus leaks. */
/* message: unused-result */
#include "l2vpn_db/l2vpn_stp.h"

uint32_t open(const L2vpnStp *record) {
    L2vpnDbIter *iter = L2VPN_DB_L2vpnStpCreateFastPriIter(record);
#ifdef MISTAKE
    L2VPN_DB_L2vpnStpCreatePrimaryIter(record);
    L2VPN_DB_L2vpnStpCreateIter(L2VPN_STP_KEY_primary_key, record);
#endif
    return L2VPN_DB_L2vpnStpReleaseIter(iter);
}
