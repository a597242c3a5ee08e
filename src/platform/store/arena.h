// SPDX-License-Identifier: MIT
// Allocator that is never given back: what readers may look at while it changes its meaning must
// stay mapped. A table frees nothing; it uses again what its deleted records leave. Pieces of one
// size fill an arena well; a large piece after small ones may leave a gap.
#pragma once

#include <cstddef>

#include "platform/store/services.h"

namespace l2vpn::platform {

class Arena {
public:
    /// Zero-filled memory, aligned to a cache line; null without memory.
    [[nodiscard]] void *allocate(const Allocator &allocator, std::size_t size);

    /// Makes sure that the next pieces, of `size` bytes together with a cache line for each, can be
    /// taken without failing; false without memory, and nothing is lost.
    [[nodiscard]] bool reserve(const Allocator &allocator, std::size_t size) {
        return size <= left_ || grow(allocator, size);
    }

private:
    bool grow(const Allocator &allocator, std::size_t size);

    char *free_ = nullptr;
    std::size_t left_ = 0;
    std::size_t size_ = 0; ///< taken from the memory service
};

} // namespace l2vpn::platform
