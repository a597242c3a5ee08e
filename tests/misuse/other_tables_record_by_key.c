/* SPDX-License-Identifier: MIT */
/* A record passed to another table's key builder. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vll_pw.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
typedef L2vpnVllPw Record;
#else
typedef L2vpnVplsPw Record;
#endif

L2vpnDbIter *open(const Record *record) {
    return L2VPN_DB_L2vpnVplsPwCreateVrindexIter(record);
}
