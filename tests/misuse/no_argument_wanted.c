/* SPDX-License-Identifier: MIT */
/* An argument to a function without parameters. */
/* message: too many arguments */
#include "l2vpn_db/l2vpn_stp.h"

uint32_t start(void) {
#ifdef MISTAKE
    return L2VPN_DB_L2vpnStpGlbInit(1);
#else
    return L2VPN_DB_L2vpnStpGlbInit();
#endif
}
