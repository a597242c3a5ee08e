// SPDX-License-Identifier: MIT
#include <atomic>

#include <sys/single_threaded.h>

#include "l2vpn_db/platform.h"

// Relaxed: a counter orders no other accesses. While the process has one thread, a plain add avoids
// the locked instruction, which would wait for all earlier reads.
std::uint32_t ZAV_AtomicAdd(std::uint32_t *counter, std::uint32_t amount) {
    if (__libc_single_threaded)
        return *counter += amount;
    return std::atomic_ref(*counter).fetch_add(amount, std::memory_order_relaxed) + amount;
}
