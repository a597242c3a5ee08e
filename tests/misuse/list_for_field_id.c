/* SPDX-License-Identifier: MIT */
/* A list of field ids passed as one field id. */
/* message: int-conversion|invalid conversion */
#include "l2vpn_db/l2vpn_vpls_pw.h"

uint32_t update(const L2vpnVplsPw *record) {
    static const uint32_t ids[] = {L2VPN_VPLS_PW_FIELD_batchVersion};
#ifdef MISTAKE
    return L2VPN_DB_L2vpnVplsPwUpdateField(record, ids);
#else
    return L2VPN_DB_L2vpnVplsPwUpdateField(record, ids[0]);
#endif
}
