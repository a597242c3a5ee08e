// SPDX-License-Identifier: MIT
#include "platform/store/cursor_table.h"

#include <algorithm>

namespace l2vpn::platform {

namespace {

// 1 | table, 12 bits | generation, 31 bits | slot, 20 bits. The first bit distinguishes handles
// from user-space addresses.
constexpr unsigned slot_bits = 20, generation_bits = 31, table_bits = 12;
static_assert(1 + slot_bits + generation_bits + table_bits == 64);

constexpr std::uint64_t field(std::uint64_t handle, unsigned from, unsigned bits) {
    return handle >> from & ((std::uint64_t{1} << bits) - 1);
}

} // namespace

Cursor *CursorTable::allocate(const Allocator &allocator, Arena &arena) {
    if (free_list_ == nullptr) {
        if (used_ == max_cursors || (used_ == group_count_ && !grow_groups(allocator, arena)) ||
            !slots_.reserve(allocator, arena, used_))
            return nullptr;
        free_list_ = &slots_[used_];
        free_list_->slot = used_++;
    }
    Cursor *const cursor = free_list_;
    free_list_ = cursor->older;
    cursor->open = true;
    return cursor;
}

void CursorTable::free(Cursor &cursor) {
    cursor.open = false;
    if (cursor.generation == max_generation)
        return;
    ++cursor.generation;
    cursor.older = free_list_;
    free_list_ = &cursor;
}

L2vpnDbIter *CursorTable::handle(const Cursor &cursor) const {
    const std::uint64_t handle = std::uint64_t{1} << 63 |
                                 std::uint64_t{table_} << (slot_bits + generation_bits) |
                                 std::uint64_t{cursor.generation} << slot_bits | cursor.slot;
    return reinterpret_cast<L2vpnDbIter *>(handle); // NOLINT(performance-no-int-to-ptr)
}

Cursor *CursorTable::find(const L2vpnDbIter *handle) const {
    const auto bits = reinterpret_cast<std::uintptr_t>(handle);
    const auto slot = static_cast<std::uint32_t>(field(bits, 0, slot_bits));
    if (bits >> 63 == 0 || field(bits, slot_bits + generation_bits, table_bits) != table_ ||
        slot >= used_)
        return nullptr;
    Cursor &cursor = slots_[slot];
    return cursor.open && field(bits, slot_bits, generation_bits) == cursor.generation ? &cursor
                                                                                       : nullptr;
}

void CursorTable::add_to_group(Cursor &cursor) {
    Cursor *&newest = groups_[group(cursor.index, cursor.hash)];
    cursor.newer = nullptr;
    cursor.older = newest;
    if (newest != nullptr)
        newest->newer = &cursor;
    newest = &cursor;
}

void CursorTable::remove_from_group(Cursor &cursor) {
    (cursor.newer != nullptr ? cursor.newer->older : groups_[group(cursor.index, cursor.hash)]) =
        cursor.older;
    if (cursor.older != nullptr)
        cursor.older->newer = cursor.newer;
}

/// Doubles the number of group lists, so that there are as many as cursors.
bool CursorTable::grow_groups(const Allocator &allocator, Arena &arena) {
    const std::uint32_t old_count = group_count_;
    const std::uint32_t count = std::max(8U, 2 * old_count);
    Cursor **const old = groups_;
    auto *const groups =
        static_cast<Cursor **>(arena.allocate(allocator, count * sizeof(Cursor *)));
    if (groups == nullptr)
        return false;
    std::fill_n(groups, count, nullptr);
    groups_ = groups;
    group_count_ = count;
    for (std::uint32_t i = 0; i < old_count; ++i) {
        Cursor *older = nullptr;
        for (Cursor *cursor = old[i]; cursor != nullptr; cursor = older) {
            older = cursor->older;
            add_to_group(*cursor);
        }
    }
    return true;
}

} // namespace l2vpn::platform
