/* SPDX-License-Identifier: MIT */
/* A const record as output of Read. */
/* message: discarded-qualifiers|invalid conversion from .const */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t read(const L2vpnVplsPw *record) {
#else
uint32_t read(L2vpnVplsPw *record) {
#endif
    return L2VPN_DB_L2vpnVplsPwRead(record);
}
