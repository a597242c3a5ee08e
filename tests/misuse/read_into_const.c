/* SPDX-License-Identifier: MIT */
/* A record that must not change, as the place to read into. */
/* message: discarded-qualifiers|invalid conversion from .const */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t read(const L2vpnVplsPw *record) {
#else
uint32_t read(L2vpnVplsPw *record) {
#endif
    return L2VPN_DB_L2vpnVplsPwRead(record);
}
