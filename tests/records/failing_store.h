// SPDX-License-Identifier: MIT
// Makes the store refuse calls: this program's DAL_VELD_Write and DAL_VELD_Delete precede the
// platform's.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace l2vpn::test {

/// Asked before each call; 0 lets it reach the store, anything else is its result.
struct FailingStore {
    using Answer = std::function<std::uint32_t(std::string_view table)>;

    static inline Answer write, remove;
    FailingStore() = default;
    FailingStore(const FailingStore &) = delete;
    FailingStore &operator=(const FailingStore &) = delete;
    ~FailingStore() { write = remove = nullptr; }

    /// Lets some calls pass and refuses all others.
    static Answer refuse_after(unsigned calls, std::uint32_t code) {
        return
            [calls, code](std::string_view) mutable { return calls-- > 0 ? 0 : (calls = 0, code); };
    }
};

} // namespace l2vpn::test
