// SPDX-License-Identifier: MIT
// An array that grows without moving its elements: chunk 0 holds two elements, chunk k
// the 2^k elements from 2^k on. The chunk addresses take few cache lines.
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
        const std::uint32_t chunk = chunk_of(at);
        if (origins_[chunk] == 0) {
            const std::size_t first = chunk == 0 ? 0 : sizeof(Element) << chunk;
            void *const memory = arena.allocate(allocator, std::max(first, 2 * sizeof(Element)));
            if (memory == nullptr)
                return false;
            store(origins_[chunk], reinterpret_cast<std::uintptr_t>(memory) - first);
        }
        std::memset(static_cast<void *>(&(*this)[at]), 0, sizeof(Element));
        return true;
    }

private:
    static std::uint32_t chunk_of(std::uint32_t at) {
        return 31 - static_cast<std::uint32_t>(std::countl_zero(at | 1));
    }

    /// Where element 0 would be if the chunk began there.
    std::uintptr_t origins_[32] = {};
};

} // namespace l2vpn::platform
