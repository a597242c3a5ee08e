/* SPDX-License-Identifier: MIT */
/* A 64-bit length. */
/* message: may change value */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t read(const L2vpnDalIntf *table, void *record, uint64_t length) {
#else
uint32_t read(const L2vpnDalIntf *table, void *record, uint32_t length) {
#endif
    return table->read(record, length);
}
