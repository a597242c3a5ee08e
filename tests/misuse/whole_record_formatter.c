/* SPDX-License-Identifier: MIT */
/* The whole-record formatter assigned to a descriptor's formatter. */
/* message: incompatible.pointer.type|invalid conversion */
#include "l2vpn_db/l2vpn_stp.h"

L2vpnAstFormatFn formatter(void) {
#ifdef MISTAKE
    return L2VPN_AST_L2vpnStpFormatTable;
#else
    return L2VPN_AST_L2vpnStpFormat;
#endif
}
