// SPDX-License-Identifier: MIT
#include "platform/store/arena.h"

#include <algorithm>
#include <cstdint>

#include <sys/mman.h>

namespace l2vpn::platform {

namespace {

constexpr std::size_t line = 64;
constexpr std::size_t page = 4096;
constexpr std::size_t huge_page = std::size_t{2} << 20;

constexpr std::size_t round_up(std::size_t size, std::size_t to) {
    return (size + to - 1) / to * to;
}

char *map(std::size_t size) {
    void *const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<char *>(memory);
}

/// Maps whole huge pages; aligned to them, unless the address space is too small for that. One page
/// more, which is never written, because a key at the end of the last slot is loaded with the bytes
/// after it.
char *map_huge_pages(std::size_t size) {
    char *memory = map(size + huge_page);
    if (memory == nullptr) {
        memory = map(size + page);
    } else {
        const std::size_t before = -reinterpret_cast<std::uintptr_t>(memory) % huge_page;
        const std::size_t after = huge_page - before - page;
        if (before != 0)
            munmap(memory, before);
        memory += before;
        if (after != 0)
            munmap(memory + size + page, after);
    }
    if (memory != nullptr)
        madvise(memory, size, MADV_HUGEPAGE); // a hint; errors are ignored
    return memory;
}

} // namespace

void *Arena::allocate(const Allocator &allocator, std::size_t size) {
    size = round_up(size, line);
    if (size > free_.size) {
        Block block = allocate_block(allocator, size);
        if (block.start == nullptr)
            return nullptr;
        total_ += block.size;
        // The smaller rest is lost.
        if (block.size - size < free_.size) {
            return block.start;
        }
        free_ = block;
    }
    void *const allocated = free_.start;
    free_.start += size;
    free_.size -= size;
    return allocated;
}

// Blocks grow with the arena, so that a small table stays small. A large table gets huge pages in
// few mappings; the kernel provides the memory when it is touched.
Arena::Block Arena::allocate_block(const Allocator &allocator, std::size_t size) const {
    if (allocator.is_malloc() && total_ + size >= 2 * huge_page) {
        std::size_t wanted = std::max(size, std::min(total_ / 8, 64 * huge_page));
        for (;; wanted /= 2) {
            wanted = round_up(std::max(wanted, size), huge_page);
            char *const memory = map_huge_pages(wanted);
            if (memory != nullptr || wanted < size + huge_page)
                return {memory, wanted};
        }
    }
    // A large allocation gets a block of its own, as the rest would be lost to the next one.
    const std::size_t shared = std::min(round_up(total_ / 16, page), 16 * page);
    const std::size_t wanted = size > shared / 4 ? size : shared;
    auto *const memory = static_cast<char *>(allocator.allocate(wanted + line));
    if (memory == nullptr)
        return {};
    return {memory + -reinterpret_cast<std::uintptr_t>(memory) % line, wanted};
}

} // namespace l2vpn::platform
