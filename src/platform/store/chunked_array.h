// SPDX-License-Identifier: MIT
// An array that grows without moving its elements: chunk 0 holds element 0, and chunk k the 2^(k-1)
// elements from 2^(k-1) on. The chunk addresses take few cache lines.
#pragma once

#include <bit>

#include "platform/store/arena.h"
#include "platform/store/shared_words.h"

namespace l2vpn::platform {

template <class Element>
class ChunkedArray {
public:
    /// Element `at`, which must have been reserved. Optimistic readers may call this.
    Element &operator[](std::uint32_t at) const {
        return *reinterpret_cast<Element *>( // NOLINT(performance-no-int-to-ptr)
            load(origins_[std::bit_width(at)]) + std::size_t{at} * sizeof(Element));
    }

    /// Reserves memory for element `at`, one more than the greatest that has been reserved, and
    /// zero-fills it. Returns false if allocation fails.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena, std::uint32_t at) {
        if (at == std::bit_floor(at)) {
            std::uintptr_t &origin = origins_[std::bit_width(at)];
            if (origin == 0) {
                const std::size_t first = std::size_t{at} * sizeof(Element);
                void *const chunk = arena.allocate(allocator, at == 0 ? sizeof(Element) : first);
                if (chunk == nullptr)
                    return false;
                store(origin, reinterpret_cast<std::uintptr_t>(chunk) - first);
            }
        }
        std::memset(static_cast<void *>(&(*this)[at]), 0, sizeof(Element));
        return true;
    }

private:
    /// Where element 0 would be if the chunk began there.
    std::uintptr_t origins_[33] = {};
};

} // namespace l2vpn::platform
