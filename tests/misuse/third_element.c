/* SPDX-License-Identifier: MIT */
/* Three initializers for an array of two. */
/* message: excess elements|too many initializers */
#include "l2vpn_db/l2vpn_stp.h"

L2vpnStp first(void) {
#ifdef MISTAKE
    const L2vpnStp record = {1, 2, 3, 4, 5, {6, 7, 8}, {0, 0}, 0, 0, 0};
#else
    const L2vpnStp record = {1, 2, 3, 4, 5, {6, 7}, {0, 0}, 0, 0, 0};
#endif
    return record;
}
