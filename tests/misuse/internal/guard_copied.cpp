// SPDX-License-Identifier: MIT
// A copied guard: it would unlock twice.
// message: use of deleted function|call to deleted
#include "library/spin_lock.h"

void hold(std::uint32_t &lock) {
    const l2vpn::SpinGuard guard(lock);
#ifdef MISTAKE
    const l2vpn::SpinGuard again(guard);
#endif
}
