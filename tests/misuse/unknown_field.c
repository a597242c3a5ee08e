/* SPDX-License-Identifier: MIT */
/* A member that the record does not have. */
/* message: no member named|has no non-static data member|no designated|has no member */
#include "l2vpn_db/l2vpn_stp.h"

void set(L2vpnStp *record) {
#ifdef MISTAKE
    record->pwTunnelId = 1;
#else
    record->vplsSubIf = 1;
#endif
}
