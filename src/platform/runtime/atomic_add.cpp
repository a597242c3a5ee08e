// SPDX-License-Identifier: MIT
#include <atomic>

#include <sys/single_threaded.h>

#include "l2vpn_db/platform.h"

// Counters order nothing but themselves. An atomic add would make the reads before it end first,
// for nobody's sake as long as the process has one thread.
std::uint32_t ZAV_AtomicAdd(std::uint32_t *counter, std::uint32_t amount) {
    if (__libc_single_threaded)
        return *counter += amount;
    return std::atomic_ref(*counter).fetch_add(amount, std::memory_order_relaxed) + amount;
}
