/* SPDX-License-Identifier: MIT */
/* A const record as output of the generic interface. */
/* message: discarded-qualifiers|invalid conversion from .const */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t read(const L2vpnDalIntf *table, const void *record, uint32_t length) {
#else
uint32_t read(const L2vpnDalIntf *table, void *record, uint32_t length) {
#endif
    return table->read(record, length);
}
