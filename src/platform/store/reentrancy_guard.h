// SPDX-License-Identifier: MIT
// A thread that the store has called out of, to a setter or a memory service, while it holds a
// table must not come back in: it would wait for itself.
#pragma once

namespace l2vpn::platform {

/// Whether this thread is inside the store, in something that the store has called.
inline constinit thread_local bool inside_store = false;

/// Marks this thread as inside for a scope.
class InsideStore {
public:
    InsideStore() { inside_store = true; }
    ~InsideStore() { inside_store = false; }
    InsideStore(const InsideStore &) = delete;
    InsideStore &operator=(const InsideStore &) = delete;
};

} // namespace l2vpn::platform
