/* SPDX-License-Identifier: MIT */
/* A record passed to another table's formatter. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_stp.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
typedef L2vpnStp Record;
#else
typedef L2vpnVplsPw Record;
#endif

uint32_t print(const Record *record, char *buffer, uint32_t length) {
    return L2VPN_AST_L2vpnVplsPwFormatTable(record, buffer, length, ",");
}
