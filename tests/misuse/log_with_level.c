/* SPDX-License-Identifier: MIT */
/* The embedded platform's log service takes one line, nothing else. */
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
