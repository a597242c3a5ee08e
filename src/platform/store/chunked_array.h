// SPDX-License-Identifier: MIT
// An array that grows without moving its elements, by half of a power of two: in chunks for the
// elements 0 and 1, 2 and 3, 4 and 5, 6 and 7, 8 to 11, 12 to 15, 16 to 23 and so on. The chunk
// addresses take few cache lines.
#pragma once

#include <algorithm>
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
            load(origins_[chunk_of(at)]) + std::size_t{at} * sizeof(Element));
    }

    /// Reserves memory for element `at`, one more than the greatest that has been reserved, and
    /// zero-fills it. Returns false if allocation fails.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena, std::uint32_t at) {
        std::uintptr_t &origin = origins_[chunk_of(at)];
        if (origin == 0) {
            const std::uint32_t elements = std::max(2U, std::bit_floor(at) / 2);
            const std::uint32_t first = at / elements * elements;
            void *const memory = arena.allocate(allocator, elements * sizeof(Element));
            if (memory == nullptr)
                return false;
            store(origin, reinterpret_cast<std::uintptr_t>(memory) - first * sizeof(Element));
        }
        std::memset(static_cast<void *>(&(*this)[at]), 0, sizeof(Element));
        return true;
    }

private:
    /// Twice the number of the highest bit, plus the next bit.
    static std::uint32_t chunk_of(std::uint32_t at) {
        const auto bit = 31 - static_cast<std::uint32_t>(std::countl_zero(at | 1));
        return 2 * bit + ((at | 1) * std::uint64_t{2} >> bit & 1);
    }

    /// Where element 0 would be if the chunk began there.
    std::uintptr_t origins_[64] = {};
};

} // namespace l2vpn::platform
