// SPDX-License-Identifier: MIT
// A thread that the store has called out of, to a setter or a memory service, while it holds a
// table must not come back in: it would wait for itself.
#pragma once

namespace l2vpn::platform {

/// Whether this thread is inside the store, in something that the store has called.
inline constinit thread_local bool inside_store = false;

/// Marks this thread as inside for a scope.
class ReentrancyGuard {
public:
    ReentrancyGuard() { inside_store = true; }
    ~ReentrancyGuard() { inside_store = false; }
    ReentrancyGuard(const ReentrancyGuard &) = delete;
    ReentrancyGuard &operator=(const ReentrancyGuard &) = delete;
};

} // namespace l2vpn::platform
