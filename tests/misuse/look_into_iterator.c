/* SPDX-License-Identifier: MIT */
/* Access to a member of the opaque iterator type. */
/* message: incomplete */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
L2vpnDbIter copy(const L2vpnDbIter *iter) {
    return *iter;
}
#else
const L2vpnDbIter *copy(const L2vpnDbIter *iter) {
    return iter;
}
#endif
