/* SPDX-License-Identifier: MIT */
/* A const record as output of GetNext. */
/* message: discarded-qualifiers|invalid conversion from .const */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t next(L2vpnDbIter *iter, const L2vpnVplsPw *record) {
#else
uint32_t next(L2vpnDbIter *iter, L2vpnVplsPw *record) {
#endif
    return L2VPN_DB_L2vpnVplsPwGetNext(iter, record);
}
