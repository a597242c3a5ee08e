// SPDX-License-Identifier: MIT
// The update-field map of a table without batchVersion.
// message: has no member named .updates
#include "facts/l2vpn_stp.h"
#include "facts/l2vpn_vpls_macpingup.h"

#ifdef MISTAKE
using Table = l2vpn::L2vpnVplsMacpingupTable;
#else
using Table = l2vpn::L2vpnStpTable;
#endif

std::uint32_t first(const l2vpn::TableDescriptor<Table> &descriptor) {
    return descriptor.updates[0].id;
}
