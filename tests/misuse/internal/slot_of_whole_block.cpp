// SPDX-License-Identifier: MIT
// A whole control block passed as its common part.
// message: invalid initialization|cannot bind
#include "facts/l2vpn_stp.h"
#include "library/fast_iterator.h"

void take(L2vpnStpGlbCb &block) {
#ifdef MISTAKE
    l2vpn::set_in_use(block, 1);
#else
    l2vpn::set_in_use(block.cb, 1);
#endif
}
