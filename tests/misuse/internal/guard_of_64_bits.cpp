// SPDX-License-Identifier: MIT
// The lock is a word of 32 bits.
// message: cannot bind|no matching function
#include "library/spin_lock.h"

#ifdef MISTAKE
using Word = std::uint64_t;
#else
using Word = std::uint32_t;
#endif

void hold(Word &lock) {
    const l2vpn::SpinGuard guard(lock);
}
