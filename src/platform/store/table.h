// SPDX-License-Identifier: MIT
// One table: its records, an index per key, its open iterators. Readers take no lock unless all
// their retries fail; writers hold the write lock. docs/store.md explains the design.
#pragma once

#include "platform/store/events.h"
#include "platform/store/request_checks.h"
#include "platform/store/seqlock.h"
#include "platform/store/status.h"

namespace l2vpn::platform {

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the seqlock's cache line
class Table {
public:
    /// Creates a table, which lives as long as the process. Returns null if allocation fails.
    static Table *create(const Allocator &allocator, const TableLayout &layout,
                         std::uint32_t number);

    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;

    [[nodiscard]] const TableLayout &layout() const { return layout_; }
    [[nodiscard]] std::span<Index> indexes() const { return indexes_; }
    [[nodiscard]] std::uint32_t stored_length() const { return stored_length_; }
    [[nodiscard]] Events &events() { return events_; }

    void lock_for_fork() { lock_.lock_for_fork(); }
    void unlock_after_fork() { lock_.unlock_after_fork(); }

    // Any thread may call these. The caller must have checked keys and records (request_checks.h).

    Status write(const Allocator &allocator, const char *record);
    /// Writes only if the stored record equals `expected`; if that is null, only if there is none.
    Status write_if(const Allocator &allocator, const char *expected, const char *record);
    [[gnu::always_inline]] inline Status read(const Index &index, const Probe<PackedKey> &probe,
                                              void *record);
    /// Prefetches the record that read() will find; the index entry should be in the cache.
    void prefetch_record(const Index &index, Hash hash) const {
        index.prefetch_record(records_, hash);
    }
    Status update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor,
                  const CheckedKey &key, const L2vpnDbRecData &record,
                  const L2vpnDbUpdData &update);
    Status remove(const CheckedKey &key);
    Status count(std::uint32_t &count) const;
    Status count_by(const CheckedKey &key, std::uint32_t &count);

    /// `key` is null for the whole table.
    Status open(const Allocator &allocator, const CheckedKey *key, L2vpnDbIter *&handle);
    /// Delivers up to `capacity` records, one after the other, in `records`.
    Status next(L2vpnDbIter *handle, void *records, std::uint32_t capacity,
                std::uint32_t &delivered);
    Status release(L2vpnDbIter *handle);

private:
    Table(const TableLayout &layout, const Arena &arena, std::span<Index> indexes,
          std::uint32_t number);

    [[nodiscard]] Index &primary() const { return indexes_[0]; }
    [[nodiscard]] std::span<Index> secondary() const { return indexes_.subspan(1); }

    [[gnu::always_inline]] inline bool
    copy_record(const Index &index, const Probe<PackedKey> &probe, void *record) const;
    [[gnu::noinline, gnu::cold]] bool copy_record_slow(const Index &index, PackedKey key,
                                                       void *record);
    Status insert_or_replace(const Allocator &allocator, RecordId id, const char *record);
    bool insert(const Allocator &allocator, const char *record);
    bool replace(const Allocator &allocator, RecordId id, const char *record);
    Status change(const Allocator &allocator, const CheckedKey &key, L2vpnDbRecObj &object);
    std::uint32_t advance(Cursor &cursor, std::span<RecordId> ids, std::uint32_t &looks,
                          bool &at_end);

    const TableLayout &layout_;
    std::span<Index> indexes_; ///< in key index order
    RecordPool records_;
    std::uint32_t stored_length_;
    std::uint32_t count_ = 0;
    Events events_;
    Arena arena_;
    CursorTable cursors_;
    SeqLock lock_;
};

inline bool Table::copy_record(const Index &index, const Probe<PackedKey> &probe,
                               void *record) const {
    const Word *const words = index.find(records_, probe).words;
    if (words != nullptr)
        copy_out(record, words, stored_length_);
    return words != nullptr;
}

inline Status Table::read(const Index &index, const Probe<PackedKey> &probe, void *record) {
    bool found = false;
    const auto copy = [&]() __attribute__((always_inline)) {
        return copy_record(index, probe, record);
    };
    if (!lock_.try_read(copy, found)) [[unlikely]]
        found = copy_record_slow(index, probe.source, record);
    if (index.is_primary())
        return found ? ok(L2VPN_STORE_STAT_READ)
                     : Status{L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_READ_MISSED};
    return found ? ok(L2VPN_STORE_STAT_KEY_READ)
                 : Status{L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_KEY_READ_MISSED};
}

} // namespace l2vpn::platform
