// SPDX-License-Identifier: MIT
// A write to a table's facts.
// message: read-only|assignment of
#include "facts/l2vpn_stp.h"

std::uint16_t last() {
#ifdef MISTAKE
    l2vpn::L2vpnStpTable::fields[0].offset = 4;
#endif
    return l2vpn::L2vpnStpTable::fields[0].offset;
}
