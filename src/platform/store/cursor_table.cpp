// SPDX-License-Identifier: MIT
#include "platform/store/cursor_table.h"

namespace l2vpn::platform {

namespace {

// 1 | table, 12 bits | generation, 31 bits | slot, 20 bits. The first bit distinguishes handles
// from user-space addresses.
constexpr unsigned slot_bits = 20, generation_bits = 31, table_bits = 12;
static_assert(1 + slot_bits + generation_bits + table_bits == 64);

constexpr std::uint64_t field(std::uint64_t handle, unsigned from, unsigned bits) {
    return handle >> from & ((std::uint64_t{1} << bits) - 1);
}

constexpr std::uint32_t first_chunk_size = 16; // each chunk is twice as long as the previous one

constexpr std::uint32_t chunk_of(std::uint32_t slot) {
    return static_cast<std::uint32_t>(std::bit_width(slot / first_chunk_size + 1) - 1);
}
constexpr std::uint32_t first_slot(std::uint32_t chunk) {
    return first_chunk_size * ((1U << chunk) - 1);
}

} // namespace

Cursor *CursorTable::at(std::uint32_t slot) const {
    const std::uint32_t chunk = chunk_of(slot);
    return chunks_[chunk] + (slot - first_slot(chunk));
}

Cursor *CursorTable::allocate(const Allocator &allocator, Arena &arena) {
    if (free_list_ == nullptr) {
        const std::uint32_t chunk = chunk_of(used_);
        if (used_ == first_slot(chunk)) {
            if (chunk == chunk_count)
                return nullptr;
            chunks_[chunk] = static_cast<Cursor *>(
                arena.allocate(allocator, (first_chunk_size << chunk) * sizeof(Cursor)));
            if (chunks_[chunk] == nullptr)
                return nullptr;
        }
        free_list_ = at(used_);
        free_list_->slot = used_++;
    }
    Cursor *const cursor = free_list_;
    free_list_ = cursor->older;
    cursor->open = true;
    return cursor;
}

void CursorTable::free(Cursor &cursor) {
    cursor.open = false;
    ++cursor.generation;
    cursor.older = free_list_;
    free_list_ = &cursor;
}

L2vpnDbIter *CursorTable::handle(const Cursor &cursor) const {
    const std::uint64_t handle =
        std::uint64_t{1} << 63 | std::uint64_t{table_} << (slot_bits + generation_bits) |
        field(cursor.generation, 0, generation_bits) << slot_bits | cursor.slot;
    return reinterpret_cast<L2vpnDbIter *>(handle); // NOLINT(performance-no-int-to-ptr)
}

Cursor *CursorTable::find(const L2vpnDbIter *handle) const {
    const auto bits = reinterpret_cast<std::uintptr_t>(handle);
    const auto slot = static_cast<std::uint32_t>(field(bits, 0, slot_bits));
    if (bits >> 63 == 0 || field(bits, slot_bits + generation_bits, table_bits) != table_ ||
        slot >= used_)
        return nullptr;
    Cursor *const cursor = at(slot);
    const bool current =
        field(bits, slot_bits, generation_bits) == field(cursor->generation, 0, generation_bits);
    return cursor->open && current ? cursor : nullptr;
}

} // namespace l2vpn::platform
