// SPDX-License-Identifier: MIT
// An arena that frees nothing: memory that an optimistic reader may still access must stay mapped.
// Deleted records are reused through the record pool's free list instead.
#pragma once

#include <cstddef>

#include "platform/store/services.h"

namespace l2vpn::platform {

class Arena {
public:
    /// Allocates uninitialized memory, aligned to a cache line. Returns null if allocation fails.
    [[nodiscard]] void *allocate(const Allocator &allocator, std::size_t size);

private:
    struct Block {
        char *start = nullptr;
        std::size_t size = 0;
    };

    [[nodiscard]] Block allocate_block(const Allocator &allocator, std::size_t size) const;

    Block free_;            ///< the rest of a block
    std::size_t total_ = 0; ///< of all blocks
};

} // namespace l2vpn::platform
