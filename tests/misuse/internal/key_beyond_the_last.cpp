// SPDX-License-Identifier: MIT
// A key that the table does not have.
// message: constant.expression
#include "facts/l2vpn_stp.h"
#include "tables/key_iterator.h"

#ifdef MISTAKE
constexpr std::size_t key = 2;
#else
constexpr std::size_t key = 1;
#endif

L2vpnDbIter *open(const L2vpnStp *record) {
    return l2vpn::create_key_iter<l2vpn::L2vpnStpTable, key>(record);
}
