/* SPDX-License-Identifier: MIT */
/* Descriptor and module interface swapped. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"
#include "l2vpn_db/platform.h"

uint32_t count(uint32_t *result) {
#ifdef MISTAKE
    return DAL_VELD_Count(&g_l2vpnL2vpnVplsPwIntf, L2VPN_DB_ModuleIntf(), result);
#else
    return DAL_VELD_Count(L2VPN_DB_ModuleIntf(), &g_l2vpnL2vpnVplsPwIntf, result);
#endif
}
