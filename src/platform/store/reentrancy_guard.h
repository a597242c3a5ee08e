// SPDX-License-Identifier: MIT
// Setters and the memory service run inside the store, under a lock. Store operations that they
// call are rejected, because they would deadlock.
#pragma once

namespace l2vpn::platform {

/// Whether this thread holds a lock of the store.
inline constinit thread_local bool inside_store = false;

/// Marks this thread as inside the store while in scope.
class ReentrancyGuard {
public:
    ReentrancyGuard() { inside_store = true; }
    ~ReentrancyGuard() { inside_store = false; }
    ReentrancyGuard(const ReentrancyGuard &) = delete;
    ReentrancyGuard &operator=(const ReentrancyGuard &) = delete;
};

} // namespace l2vpn::platform
