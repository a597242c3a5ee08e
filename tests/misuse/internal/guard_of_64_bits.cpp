// SPDX-License-Identifier: MIT
// A 64-bit lock word.
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
