/* SPDX-License-Identifier: MIT */
/* A write to a table's name. */
/* message: read-only */
#include "l2vpn_db/l2vpn_stp.h"

const char *name(void) {
#ifdef MISTAKE
    L2VPN_AST_L2vpnStpModule()->name[0] = 'x';
#endif
    return L2VPN_AST_L2vpnStpModule()->name;
}
