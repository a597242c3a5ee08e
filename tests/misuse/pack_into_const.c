/* SPDX-License-Identifier: MIT */
/* A const buffer as output of SetAllFields. */
/* message: discarded-qualifiers|invalid conversion from .const */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t pack(const L2vpnVplsPw *record, const void *stored) {
#else
uint32_t pack(const L2vpnVplsPw *record, void *stored) {
#endif
    return L2VPN_DB_L2vpnVplsPwSetAllFields(record, stored);
}
