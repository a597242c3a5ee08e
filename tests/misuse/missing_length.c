/* SPDX-License-Identifier: MIT */
/* A generic call without the record length. */
/* message: too few arguments */
#include "l2vpn_db/l2vpn_vpls_pw.h"

uint32_t store(const L2vpnDalIntf *table, const L2vpnVplsPw *record) {
#ifdef MISTAKE
    return table->write(record);
#else
    return table->write(record, sizeof *record);
#endif
}
