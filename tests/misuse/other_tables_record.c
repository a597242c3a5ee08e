/* SPDX-License-Identifier: MIT */
/* A record passed to another table's function. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_ac.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"

uint32_t store(const L2vpnVplsAc *ac, const L2vpnVplsPw *pw) {
#ifdef MISTAKE
    return L2VPN_DB_L2vpnVplsPwWrite(ac) + L2VPN_DB_L2vpnVplsAcWrite(pw);
#else
    return L2VPN_DB_L2vpnVplsPwWrite(pw) + L2VPN_DB_L2vpnVplsAcWrite(ac);
#endif
}
