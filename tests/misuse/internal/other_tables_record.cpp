// SPDX-License-Identifier: MIT
// A record passed to another table's template.
// message: cannot convert|no matching function
#include "facts/l2vpn_stp.h"
#include "facts/l2vpn_vpls_pw.h"
#include "library/record_operations.h"

std::uint32_t store(const L2vpnStp *stp, const L2vpnVplsPw *pw) {
#ifdef MISTAKE
    return l2vpn::write<l2vpn::L2vpnStpTable>(pw) + (stp != nullptr);
#else
    return l2vpn::write<l2vpn::L2vpnStpTable>(stp) + (pw != nullptr);
#endif
}
