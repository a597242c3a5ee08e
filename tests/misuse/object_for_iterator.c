/* SPDX-License-Identifier: MIT */
/* A record object passed as an iterator. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t release(L2vpnDbRecObj *handle) {
#else
uint32_t release(L2vpnDbIter *handle) {
#endif
    return L2VPN_DB_L2vpnVplsPwReleaseIter(handle);
}
