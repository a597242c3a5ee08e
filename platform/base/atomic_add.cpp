// SPDX-License-Identifier: MIT
#include <atomic>

#include "l2vpn_db/platform.h"

// Counters order nothing but themselves.
std::uint32_t ZAV_AtomicAdd(std::uint32_t *counter, std::uint32_t amount) {
    return std::atomic_ref(*counter).fetch_add(amount, std::memory_order_relaxed) + amount;
}
