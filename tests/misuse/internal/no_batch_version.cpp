// SPDX-License-Identifier: MIT
// The batchVersion setter of a table without that field.
// message: is not a member of
#include "facts/l2vpn_stp.h"
#include "facts/l2vpn_vpls_macpingup.h"

std::uint32_t set(L2vpnDbRecObj *object) {
#ifdef MISTAKE
    return l2vpn::L2vpnVplsMacpingupTable::set_batch_version(object, 1);
#else
    return l2vpn::L2vpnStpTable::set_batch_version(object, 1);
#endif
}
