// SPDX-License-Identifier: MIT
// Frees the locks of the control blocks in the child of a fork: threads of the parent may hold
// them. The data that they protect is consistent after each store, so the forking thread need not
// take them.
#include <algorithm>

#include "library/control_block.h"
#include "library/spin_lock.h"

/// pthread_atfork without its wrapper, which is linked statically and not hardened.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the C library's name
extern "C" int __register_atfork(void (*prepare)(), void (*parent)(), void (*child)(),
                                 void *shared_object);

namespace l2vpn {

namespace {

void after_fork_in_child() {
    for (L2vpnDbGlbCb *const cb : control_blocks) {
        std::fill(std::begin(cb->mutex), std::end(cb->mutex), 0); // a default mutex
        spin_init(cb->spinLock);
    }
}

[[gnu::constructor]] void register_fork_handler() {
    __register_atfork(nullptr, nullptr, after_fork_in_child, nullptr);
}

} // namespace

} // namespace l2vpn
