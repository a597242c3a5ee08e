/* SPDX-License-Identifier: MIT */
/* A log function with a level parameter. */
/* message: incompatible.pointer.type|invalid conversion */
#include "l2vpn_db/memory_store.h"

#ifdef MISTAKE
void log_line(int level, const char *text);
#else
void log_line(const char *text);
#endif

L2vpnDbLogIntf service(void) {
    return l2vpn_store_log_service(log_line);
}
