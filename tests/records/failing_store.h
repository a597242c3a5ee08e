// SPDX-License-Identifier: MIT
// Makes the store reject calls: this program's DAL_VELD_Write and DAL_VELD_Delete interpose the
// platform's.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace l2vpn::test {

/// Functions called before each store call. A result of 0 forwards the call; any other is returned.
struct FailingStore {
    using Fault = std::function<std::uint32_t(std::string_view table)>;

    static inline Fault write, remove;
    FailingStore() = default;
    FailingStore(const FailingStore &) = delete;
    FailingStore &operator=(const FailingStore &) = delete;
    ~FailingStore() { write = remove = nullptr; }

    /// Forwards the first `calls` calls and rejects the others.
    static Fault reject_after(unsigned calls, std::uint32_t code) {
        return
            [calls, code](std::string_view) mutable { return calls-- > 0 ? 0 : (calls = 0, code); };
    }
};

} // namespace l2vpn::test
