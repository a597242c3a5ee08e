// SPDX-License-Identifier: MIT
#include "platform/store/arena.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

namespace l2vpn::platform {

namespace {

constexpr std::size_t line = 64;
constexpr std::size_t page = 4096;
constexpr std::size_t huge_page = std::size_t{2} << 20;

constexpr std::size_t round_up(std::size_t size, std::size_t to) {
    return (size + to - 1) / to * to;
}

} // namespace

void *Arena::allocate(const Allocator &allocator, std::size_t size) {
    size = round_up(size, line);
    if (size > left_ && !grow(allocator, size))
        return nullptr;
    void *const allocated = free_;
    free_ += size;
    left_ -= size;
    std::memset(allocated, 0, size);
    return allocated;
}

// Blocks grow with the arena: a small table stays small, a large one gets huge pages. A block is a
// multiple of the requested size, because most requests are followed by others of that size.
bool Arena::grow(const Allocator &allocator, std::size_t size) {
    const bool huge = size_ >= 4 * huge_page && size <= huge_page && allocator.is_malloc();
    const std::size_t step = std::min(round_up(size_ / 16 + 1, page), huge_page);
    const std::size_t wanted = huge ? huge_page : std::max(size, step - step % size);
    const std::size_t slack = huge ? 0 : line; // to align what the service returns
    auto *const block = static_cast<char *>(huge ? std::aligned_alloc(huge_page, huge_page)
                                                 : allocator.allocate(wanted + slack));
    if (block == nullptr)
        return false;
    if (huge)
        madvise(block, huge_page, MADV_HUGEPAGE); // a hint; errors are ignored
    free_ = block + slack - reinterpret_cast<std::uintptr_t>(block) % line;
    left_ = wanted;
    size_ += wanted + slack;
    return true;
}

} // namespace l2vpn::platform
