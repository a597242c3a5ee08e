/* SPDX-License-Identifier: MIT */
/* A key constant that the table does not have. */
/* message: undeclared|not declared */
#include "l2vpn_db/l2vpn_stp.h"

L2vpnDbIter *open(const L2vpnStp *record) {
#ifdef MISTAKE
    return L2VPN_DB_L2vpnStpCreateIter(L2VPN_STP_KEY_smooth_hash_key, record);
#else
    return L2VPN_DB_L2vpnStpCreateIter(L2VPN_STP_KEY_stp_src_if_key, record);
#endif
}
