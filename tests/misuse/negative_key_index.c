/* SPDX-License-Identifier: MIT */
/* A signed key index. */
/* message: may change the sign */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
L2vpnDbIter *open(int key, const L2vpnVplsPw *record) {
#else
L2vpnDbIter *open(uint32_t key, const L2vpnVplsPw *record) {
#endif
    return L2VPN_DB_L2vpnVplsPwCreateIter(key, record);
}
