/* SPDX-License-Identifier: MIT */
/* A length that may not fit into 32 bits. */
/* message: may change value */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t read(const L2vpnDalIntf *table, void *record, uint64_t length) {
#else
uint32_t read(const L2vpnDalIntf *table, void *record, uint32_t length) {
#endif
    return table->read(record, length);
}
