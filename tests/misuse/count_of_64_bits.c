/* SPDX-License-Identifier: MIT */
/* A 64-bit count: the store writes 32 bits. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint64_t count(void) {
    uint64_t result = 0;
#else
uint32_t count(void) {
    uint32_t result = 0;
#endif
    return L2VPN_DB_L2vpnVplsPwCount(&result) == L2VPN_DB_OK ? result : 0;
}
