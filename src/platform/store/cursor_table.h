// SPDX-License-Identifier: MIT
// The cursors of a table, one per iterator. A handle is not an address: it names a slot, the slot's
// generation and the table, so that any value can be checked for being an open iterator's handle.
#pragma once

#include "platform/store/record_pool.h"

namespace l2vpn::platform {

class Index;

struct Cursor {
    Index *index;       ///< null: over the whole table
    RecordId next;      ///< the next record; over an index, no_record at the end
    RecordId last;      ///< over an index: the last record; else one past the last slot
    Word last_sequence; ///< whole table: records inserted after this are not delivered
    Cursor *newer;      ///< neighbours in the group list, if the cursor is in it
    Cursor *older;
    Hash hash; ///< over an index: of the key value
    std::uint32_t slot;
    std::uint32_t generation; ///< how often the slot has been freed
    bool open;
};

/// All functions require the write lock.
class CursorTable {
public:
    /// Handles have 31 bits for the generation. A slot that is freed with the last one is retired.
    static constexpr std::uint32_t max_generation = (std::uint32_t{1} << 31) - 1;

    explicit CursorTable(std::uint32_t table) : table_(table) {}

    /// Allocates a cursor, not positioned. Returns null if allocation fails.
    [[nodiscard]] Cursor *allocate(const Allocator &allocator, Arena &arena);
    void free(Cursor &cursor);

    [[nodiscard]] L2vpnDbIter *handle(const Cursor &cursor) const;
    /// Returns the open cursor with the handle, or null.
    [[nodiscard]] Cursor *find(const L2vpnDbIter *handle) const;

    // Group lists: the cursors over an index that have records left, by index and key value.

    void add_to_group(Cursor &cursor);
    void remove_from_group(Cursor &cursor);
    /// Calls visit(cursor), which may remove it, for each cursor in the group of a key value.
    template <class Visit>
    void visit_group(const Index *index, Hash hash, Visit visit) const {
        Cursor *older = nullptr;
        for (Cursor *cursor = group_count_ == 0 ? nullptr : groups_[group(index, hash)];
             cursor != nullptr; cursor = older) {
            older = cursor->older;
            if (cursor->index == index && cursor->hash == hash)
                visit(*cursor);
        }
    }

private:
    static constexpr std::uint32_t max_cursors = std::uint32_t{1} << 20;

    [[nodiscard]] std::uint32_t group(const Index *index, Hash hash) const {
        return (hash ^ static_cast<Hash>(reinterpret_cast<std::uintptr_t>(index) >> 6)) &
               (group_count_ - 1);
    }
    [[nodiscard]] bool grow_groups(const Allocator &allocator, Arena &arena);

    std::uint32_t table_;
    std::uint32_t used_ = 0;
    ChunkedArray<Cursor> slots_;
    Cursor *free_list_ = nullptr; ///< linked through `older`
    Cursor **groups_ = nullptr;
    std::uint32_t group_count_ = 0; ///< 0 or a power of two
};

} // namespace l2vpn::platform
