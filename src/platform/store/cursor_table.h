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
    Cursor *newer;      ///< neighbours among the open cursors of the index
    Cursor *older;
    std::uint32_t slot;
    std::uint32_t generation; ///< how often the slot has been freed
    bool open;
};

/// All functions require the write lock.
class CursorTable {
public:
    explicit CursorTable(std::uint32_t table) : table_(table) {}

    /// Allocates a cursor, not positioned. Returns null if allocation fails.
    [[nodiscard]] Cursor *allocate(const Allocator &allocator, Arena &arena);
    void free(Cursor &cursor);

    [[nodiscard]] L2vpnDbIter *handle(const Cursor &cursor) const;
    /// Returns the open cursor with the handle, or null.
    [[nodiscard]] Cursor *find(const L2vpnDbIter *handle) const;

private:
    static constexpr std::uint32_t chunk_count = 16;

    [[nodiscard]] Cursor *at(std::uint32_t slot) const;

    std::uint32_t table_;
    Cursor *chunks_[chunk_count] = {};
    std::uint32_t used_ = 0;
    Cursor *free_list_ = nullptr; ///< linked through `older`
};

} // namespace l2vpn::platform
