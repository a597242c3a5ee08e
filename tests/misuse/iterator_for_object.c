/* SPDX-License-Identifier: MIT */
/* An iterator passed as a record object. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t set(const L2vpnDbRecData *record, L2vpnDbIter *object, const uint32_t *ids) {
#else
uint32_t set(const L2vpnDbRecData *record, L2vpnDbRecObj *object, const uint32_t *ids) {
#endif
    return L2VPN_DB_L2vpnVplsPwSetFields(record, object, ids, 1);
}
