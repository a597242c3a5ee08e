// SPDX-License-Identifier: MIT
// A write to a table without typed access.
// message: is not a member of
#include "facts/l2vpn_eth.h"
#include "facts/l2vpn_stp.h"
#include "library/record_operations.h"

#ifdef MISTAKE
using Table = l2vpn::L2vpnEthTable;
#else
using Table = l2vpn::L2vpnStpTable;
#endif

std::uint32_t store(const Table::Record *record) {
    return l2vpn::write<Table>(record);
}
