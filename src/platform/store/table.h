// SPDX-License-Identifier: MIT
// One table: its records, an index per key, its open iterators. Changes are made under a mutex;
// reads and counts run beside them and start again when a change came in between.
#pragma once

#include <atomic>
#include <mutex>

#include "platform/store/cursor_table.h"
#include "platform/store/events.h"
#include "platform/store/request_checks.h"
#include "platform/store/status.h"

namespace l2vpn::platform {

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): a cache line of its own costs that
class Table {
public:
    /// A table that lives for ever; null without memory.
    static Table *create(const Allocator &allocator, const TableLayout &layout,
                         std::uint32_t number);

    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;

    [[nodiscard]] const TableLayout &layout() const { return layout_; }
    [[nodiscard]] std::span<const KeyDefinition> keys() const { return keys_; }
    [[nodiscard]] std::uint32_t stored_length() const { return stored_length_; }
    [[nodiscard]] Events &events() { return events_; }

    /// The table that was created before this one.
    Table *older = nullptr;

    // Keys and record requests have been checked against keys() and stored_length().

    Status write(const Allocator &allocator, const char *record);
    Status read(const Key &key, void *record);
    Status update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor, const Key &key,
                  const L2vpnDbRecData &record, const L2vpnDbUpdData &update);
    Status remove(const Key &key);
    Status count(std::uint32_t &count) const;
    Status count_by(const Key &key, std::uint32_t &count);

    /// `key` is null for the whole table.
    Status open(const Allocator &allocator, const Key *key, L2vpnDbIter *&handle);
    Status next(L2vpnDbIter *handle, void *record);
    Status release(L2vpnDbIter *handle);

private:
    class WriteLock;
    class WriteSection;

    /// What a record that is being written needs in the index of one key.
    struct PendingKey {
        Hash hash;
        RecordId group; ///< the first record of the group that it joins, or no_record
        bool changes;
    };

    /// Arrays whose length depends on the layout.
    struct Parts {
        KeyDefinition *plans;
        HashIndex *indexes;
        PendingKey *pending;
        Cursor **newest;
        char *record;
    };

    Table(const TableLayout &layout, const Arena &arena, const Parts &parts, std::uint32_t number);

    struct Found {
        RecordId id;
        const Word *words;
    };

    template <auto Look, class Result, class... Arguments>
    bool try_read(Result &result, Arguments... arguments) const;
    template <auto Look, class... Arguments>
    auto optimistic_read(Arguments... arguments);
    template <auto Look, class... Arguments>
    auto read_slow(Arguments... arguments);

    // What may be looked at while it changes.

    bool copy_found(const KeyDefinition *plan, const HashIndex *index, Hash hash, PackedKey key,
                    void *record) const;
    [[nodiscard]] std::uint32_t count_found(Key key, Hash hash) const;
    template <class Source>
    [[nodiscard]] Found find(const KeyDefinition &plan, const HashIndex &index, Hash hash,
                             Source source) const;
    template <class Source>
    [[nodiscard]] RecordId find(std::size_t key, Hash hash, Source source) const;

    bool insert(const Allocator &allocator, Hash primary, const char *record);
    bool replace(const Allocator &allocator, RecordId id, const char *record);
    bool reserve(const Allocator &allocator, std::size_t key, const char *record);
    void link(RecordId id, std::size_t key);
    void unlink(RecordId id, std::size_t key);
    void advance_cursors(RecordId id, std::size_t key);

    const TableLayout &layout_;
    std::span<const KeyDefinition> keys_;
    HashIndex *indexes_; ///< one per key
    RecordPool records_;
    std::uint32_t stored_length_;
    std::uint32_t count_ = 0;
    Events events_;
    Arena arena_;
    CursorTable cursors_;
    PendingKey *pending_; ///< one per key
    char *record_;        ///< room for a stored record

    std::mutex mutex_;
    /// Odd while a change is being made. On a line of its own: all readers watch it.
    alignas(64) std::atomic<Word> version_{0};
};

} // namespace l2vpn::platform
