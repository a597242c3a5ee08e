/* SPDX-License-Identifier: MIT */
/* A call of a reserved slot of the generic interface. */
/* message: too many arguments */
#include "l2vpn_db/l2vpn_vpls_pw.h"

uint32_t store(const L2vpnDalIntf *table, const L2vpnVplsPw *record) {
#ifdef MISTAKE
    return table->reserved[0](record, sizeof *record);
#else
    return table->write(record, sizeof *record);
#endif
}
