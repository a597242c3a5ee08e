/* SPDX-License-Identifier: MIT */
/* A setter without the record object parameter. */
/* message: incompatible.pointer.type|invalid conversion */
#include "l2vpn_db/l2vpn_db.h"

#ifdef MISTAKE
uint32_t set(const L2vpnDbRecData *record, const uint32_t *ids, uint32_t count);
#else
uint32_t set(const L2vpnDbRecData *record, L2vpnDbRecObj *object, const uint32_t *ids,
             uint32_t count);
#endif

void prepare(L2vpnDbUpdData *update) {
    update->setFields = set;
}
