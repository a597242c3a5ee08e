/* SPDX-License-Identifier: MIT */
/* The formatter that a descriptor names chooses its presentation. */
/* message: incompatible.pointer.type|invalid conversion */
#include "l2vpn_db/l2vpn_stp.h"

L2vpnAstFormatFn formatter(void) {
#ifdef MISTAKE
    return L2VPN_AST_L2vpnStpFormatTable;
#else
    return L2VPN_AST_L2vpnStpFormat;
#endif
}
