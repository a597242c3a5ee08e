// SPDX-License-Identifier: MIT
// An arena that frees nothing: memory that an optimistic reader may still access must stay mapped.
// Deleted records are reused through the record pool's free list instead. A large allocation after
// small ones may leave a gap.
#pragma once

#include <cstddef>

#include "platform/store/services.h"

namespace l2vpn::platform {

class Arena {
public:
    /// Allocates zero-filled memory, aligned to a cache line. Returns null if allocation fails.
    [[nodiscard]] void *allocate(const Allocator &allocator, std::size_t size);

    /// Reserves `size` bytes for the next allocations, each of which is rounded up to cache lines.
    /// Returns false, with nothing changed, if allocation fails.
    [[nodiscard]] bool reserve(const Allocator &allocator, std::size_t size) {
        return size <= left_ || grow(allocator, size);
    }

private:
    bool grow(const Allocator &allocator, std::size_t size);

    char *free_ = nullptr; ///< the rest of the newest block
    std::size_t left_ = 0;
    std::size_t size_ = 0; ///< of all blocks
};

} // namespace l2vpn::platform
