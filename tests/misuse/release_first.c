/* SPDX-License-Identifier: MIT */
/* Allocate and release functions swapped. */
/* message: incompatible.pointer.type|invalid conversion */
#include "l2vpn_db/memory_store.h"

void *allocate(size_t size);
void release(void *memory);

L2vpnDbMemIntf service(void) {
#ifdef MISTAKE
    return l2vpn_store_memory_service(release, allocate);
#else
    return l2vpn_store_memory_service(allocate, release);
#endif
}
