/* SPDX-License-Identifier: MIT */
/* A list of signed field ids. */
/* message: incompatible-pointer-types|cannot convert|pointer-sign|invalid conversion */
#include "l2vpn_db/l2vpn_vpls_pw.h"

uint32_t update(const L2vpnVplsPw *record) {
#ifdef MISTAKE
    const int ids[] = {L2VPN_VPLS_PW_FIELD_batchVersion};
#else
    const uint32_t ids[] = {L2VPN_VPLS_PW_FIELD_batchVersion};
#endif
    return L2VPN_DB_L2vpnVplsPwUpdateFields(record, ids, 1);
}
