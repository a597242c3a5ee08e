/* SPDX-License-Identifier: MIT */
/* A statistics function with a result. */
/* message: incompatible.pointer.type|invalid conversion */
#include "l2vpn_db/l2vpn_stp.h"

#ifdef MISTAKE
uint32_t count(uint32_t event, uint32_t amount);
#else
void count(uint32_t event, uint32_t amount);
#endif

void prepare(L2vpnDbTblIntf *table) {
    table->stat = count;
}
