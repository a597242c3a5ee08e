// SPDX-License-Identifier: MIT
// The flags stand in the common part of a control block.
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
