/* SPDX-License-Identifier: MIT */
/* A 64-bit count through the generic interface. */
/* message: incompatible-pointer-types|cannot convert */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
uint32_t count(const L2vpnDalIntf *table, uint64_t *result) {
#else
uint32_t count(const L2vpnDalIntf *table, uint32_t *result) {
#endif
    return table->count(result);
}
