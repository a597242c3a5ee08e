// SPDX-License-Identifier: MIT
// The memory service runs inside the store, under a lock, and a signal handler may interrupt a
// thread that holds one. Store operations that they call are rejected, because they would deadlock.
#pragma once

#include <atomic>

namespace l2vpn::platform {

/// Whether this thread holds a lock of the store, or is about to take one.
inline constinit thread_local bool inside_store = false;

/// Marks this thread as inside the store while in scope. Construct it before the lock.
class ReentrancyGuard {
public:
    ReentrancyGuard() {
        inside_store = true;
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    ~ReentrancyGuard() {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        inside_store = false;
    }
    ReentrancyGuard(const ReentrancyGuard &) = delete;
    ReentrancyGuard &operator=(const ReentrancyGuard &) = delete;
};

} // namespace l2vpn::platform
