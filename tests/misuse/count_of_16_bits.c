/* SPDX-License-Identifier: MIT */
/* A 16-bit count: the store would write past it. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint16_t count(const L2vpnVplsPw *record) {
    uint16_t result = 0;
#else
uint32_t count(const L2vpnVplsPw *record) {
    uint32_t result = 0;
#endif
    return L2VPN_DB_L2vpnVplsPwCountByVrindexKey(record, &result) == L2VPN_DB_OK ? result : 0;
}
