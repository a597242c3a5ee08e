/* SPDX-License-Identifier: MIT */
/* A value too wide for its field. */
/* message: may change value */
#include "l2vpn_db/l2vpn_vpls_pw.h"

#ifdef MISTAKE
void set(L2vpnVplsPw *record, uint64_t version) {
#else
void set(L2vpnVplsPw *record, uint32_t version) {
#endif
    record->batchVersion = version;
}
