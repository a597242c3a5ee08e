// SPDX-License-Identifier: MIT
// A key that the table does not have.
// message: constant.expression|outside the bounds
#include "facts/l2vpn_stp.h"
#include "tables/key_builder.h"

#ifdef MISTAKE
constexpr std::size_t key = 2;
#else
constexpr std::size_t key = 1;
#endif

l2vpn::KeySetter setter() {
    return l2vpn::set_key<l2vpn::L2vpnStpTable, key>;
}
