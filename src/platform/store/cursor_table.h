// SPDX-License-Identifier: MIT
// The open iterators of a table. A handle is a number, not an address: what is no handle, or no
// longer one, is found out by looking, whatever it is.
#pragma once

#include "platform/store/record_pool.h"

namespace l2vpn::platform {

struct Cursor {
    static constexpr std::size_t whole_table = SIZE_MAX;

    std::size_t key;    ///< or whole_table
    RecordId next;      ///< to be delivered next, no_record at the end
    RecordId last;      ///< key: to be delivered last; whole table: the first not to be delivered
    Word last_sequence; ///< whole table: records born later are not delivered
    Cursor *newer;      ///< neighbours in the list of the key's cursors
    Cursor *older;
    std::uint32_t slot;
    std::uint32_t generation; ///< counts the times that the slot was opened and released
    bool open;
};

class CursorTable {
public:
    /// `keys` zeroed pointers, one per key, that stay where they are.
    CursorTable(std::uint32_t table, Cursor **newest) : table_(table), newest_(newest) {}

    /// A cursor over a key, or over the whole table; null without memory.
    [[nodiscard]] Cursor *open(const Allocator &allocator, Arena &arena, std::size_t key);
    void release(Cursor &cursor);

    [[nodiscard]] L2vpnDbIter *handle(const Cursor &cursor) const;
    /// The open cursor with the handle; null if there is none.
    [[nodiscard]] Cursor *find(const L2vpnDbIter *handle) const;

    /// The newest open cursor over a key; the others follow through `older`.
    [[nodiscard]] Cursor *over(std::size_t key) const { return newest_[key]; }

private:
    static constexpr std::uint32_t first_chunk = 16; ///< each chunk is twice as long as the last
    static constexpr std::uint32_t chunk_count = 16;

    [[nodiscard]] Cursor *at(std::uint32_t slot) const;

    std::uint32_t table_;
    Cursor **newest_;
    Cursor *chunks_[chunk_count] = {};
    std::uint32_t used_ = 0;
    Cursor *free_ = nullptr; ///< linked through `older`
};

} // namespace l2vpn::platform
