/* SPDX-License-Identifier: MIT */
/* A signed buffer length. */
/* message: may change the sign */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t print(const L2vpnVplsPw *record, char *buffer, int length) {
#else
uint32_t print(const L2vpnVplsPw *record, char *buffer, uint32_t length) {
#endif
    return L2VPN_AST_L2vpnVplsPwFormat(L2VPN_AST_WHOLE_RECORD, record, buffer, length, ",");
}
