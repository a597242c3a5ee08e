// SPDX-License-Identifier: MIT
// A key index past the last key.
// message: constant.expression|outside the bounds
#include "facts/l2vpn_stp.h"
#include "library/key_builder.h"

#ifdef MISTAKE
constexpr std::size_t key = 2;
#else
constexpr std::size_t key = 1;
#endif

l2vpn::BuildKeyFn setter() {
    return l2vpn::build_key_out_of_line<l2vpn::L2vpnStpTable, key>;
}
