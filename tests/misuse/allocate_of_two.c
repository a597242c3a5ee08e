/* SPDX-License-Identifier: MIT */
/* An allocate function with two parameters. */
/* message: incompatible.pointer.type|invalid conversion */
#include "l2vpn_db/memory_store.h"

#ifdef MISTAKE
void *allocate(size_t count, size_t size);
#else
void *allocate(size_t size);
#endif
void release(void *memory);

L2vpnDbMemIntf service(void) {
    return l2vpn_store_memory_service(allocate, release);
}
