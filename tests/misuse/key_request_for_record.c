/* SPDX-License-Identifier: MIT */
/* A key request passed as a record request. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"
#include "l2vpn_db/platform.h"

#ifdef MISTAKE
uint32_t store(const L2vpnDbKeyData *request) {
#else
uint32_t store(const L2vpnDbRecData *request) {
#endif
    return DAL_VELD_Write(L2VPN_DB_ModuleIntf(), &g_l2vpnL2vpnVplsPwIntf, request);
}
