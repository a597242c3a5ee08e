/* SPDX-License-Identifier: MIT */
/* A memory service registered as the log service. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_db.h"

#ifdef MISTAKE
void start(const L2vpnDbMemIntf *service) {
#else
void start(const L2vpnDbLogIntf *service) {
#endif
    L2VPN_DB_LogIntfReg(service);
}
