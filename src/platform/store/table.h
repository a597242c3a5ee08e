// SPDX-License-Identifier: MIT
// One table: its records, an index per key, its open iterators. Changes are made under a mutex;
// reads and counts run beside them and start again when a change came in between.
#pragma once

#include <atomic>
#include <mutex>

#include "platform/store/cursors.h"
#include "platform/store/events.h"
#include "platform/store/status.h"
#include "platform/store/request_checks.h"

namespace l2vpn::platform {

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): a cache line of its own costs that
class Table {
public:
    /// A table that lives for ever; null without memory.
    static Table *create(const Memory &memory, const TableLayout &layout, std::uint32_t number);

    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;

    [[nodiscard]] const TableLayout &layout() const { return layout_; }
    [[nodiscard]] std::span<const KeyPlan> keys() const { return keys_; }
    [[nodiscard]] std::uint32_t stored_length() const { return stored_length_; }
    [[nodiscard]] Events &events() { return events_; }

    /// The table that was created before this one.
    Table *older = nullptr;

    // Keys and record requests have been checked against keys() and stored_length().

    Outcome write(const Memory &memory, const char *record);
    Outcome read(const Key &key, void *record);
    Outcome update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor, const Key &key,
                   const L2vpnDbRecData &record, const L2vpnDbUpdData &update);
    Outcome remove(const Key &key);
    Outcome count(std::uint32_t &count) const;
    Outcome count_by(const Key &key, std::uint32_t &count);

    /// `key` is null for the whole table.
    Outcome open(const Memory &memory, const Key *key, L2vpnDbIter *&handle);
    Outcome next(L2vpnDbIter *handle, void *record);
    Outcome release(L2vpnDbIter *handle);

private:
    class Change;
    class Window;

    /// What a record that is being written needs in the index of one key.
    struct NewKey {
        Hash hash;
        RecordId group; ///< the first record of the group that it joins, or no_record
        bool changes;
    };

    /// Arrays whose length depends on the layout.
    struct Parts {
        KeyPlan *plans;
        KeyIndex *indexes;
        NewKey *new_keys;
        Cursor **newest;
        char *record;
    };

    Table(const TableLayout &layout, const Arena &arena, const Parts &parts, std::uint32_t number);

    struct Found {
        RecordId id;
        const Word *words;
    };

    template <auto Look, class Result, class... Arguments>
    bool looked(Result &result, Arguments... arguments) const;
    template <auto Look, class... Arguments>
    auto look(Arguments... arguments);
    template <auto Look, class... Arguments>
    auto look_again(Arguments... arguments);

    // What may be looked at while it changes.

    bool copy_found(const KeyPlan *plan, const KeyIndex *index, Hash hash, PackedKey key,
                    void *record) const;
    [[nodiscard]] std::uint32_t count_found(Key key, Hash hash) const;
    template <class Source>
    [[nodiscard]] Found find(const KeyPlan &plan, const KeyIndex &index, Hash hash,
                             Source source) const;
    template <class Source>
    [[nodiscard]] RecordId find(std::size_t key, Hash hash, Source source) const;

    bool insert(const Memory &memory, Hash primary, const char *record);
    bool replace(const Memory &memory, RecordId id, const char *record);
    bool prepare(const Memory &memory, std::size_t key, const char *record);
    void join(RecordId id, std::size_t key);
    void leave(RecordId id, std::size_t key);
    void move_cursors(RecordId id, std::size_t key);

    const TableLayout &layout_;
    std::span<const KeyPlan> keys_;
    KeyIndex *indexes_; ///< one per key
    Records records_;
    std::uint32_t stored_length_;
    std::uint32_t count_ = 0;
    Events events_;
    Arena arena_;
    Cursors cursors_;
    NewKey *new_keys_; ///< one per key
    char *record_;     ///< room for a stored record

    std::mutex mutex_;
    /// Odd while a change is being made. On a line of its own: all readers watch it.
    alignas(64) std::atomic<Word> version_{0};
};

} // namespace l2vpn::platform
