// SPDX-License-Identifier: MIT
// One key of a table: its definition, the hash index of its values, and the duplicate chains of the
// records that share a value.
#pragma once

#include "platform/store/cursor_table.h"
#include "platform/store/hash_index.h"

namespace l2vpn::platform {

class Index {
public:
    explicit Index(const KeyDefinition &key) : key_(key) {}

    [[nodiscard]] const KeyDefinition &key() const { return key_; }
    [[nodiscard]] bool is_primary() const { return key_.number() == 0; }

    /// A record, or no_record and null.
    struct Found {
        RecordId id;
        const Word *words;
    };

    // Optimistic readers may call these; inside a write section the results are meaningless.

    /// Finds the record with the key value; of a duplicate chain, its head.
    template <class Source>
    [[nodiscard, gnu::always_inline]] Found find(const RecordPool &records,
                                                 const Probe<Source> &probe) const {
        const auto [id, exhausted] = hash_index_.first_match(probe.hash);
        if (records.exists(id)) [[likely]] {
            const Word *const words = records.words(id);
            if (key_.matches(probe, words)) [[likely]]
                return {id, words};
        } else if (exhausted) {
            return {no_record, nullptr};
        }
        return find_slow(records, probe.source);
    }
    /// Counts the records with the key value.
    [[nodiscard]] std::uint32_t count(const RecordPool &records, PackedKey value) const;

    // Many reads first prefetch what find() will load, for all of their keys in turn.

    void prefetch_entry(Hash hash) const { hash_index_.prefetch(hash); }
    void prefetch_record(const RecordPool &records, Hash hash) const {
        records.prefetch(hash_index_.first_match(hash).id);
    }

    // The functions below require the write lock.

    /// Looks up the key value of a record that is to be written, for reserve() and link(). Returns
    /// the head of its duplicate chain, or no_record.
    RecordId stage(const RecordPool &records, const char *record);
    /// Stages the replacement of a stored record, if the key value differs. Returns changes().
    bool stage_change(const RecordPool &records, const char *record, const Word *stored) {
        pending_.changes = !key_.matches(record, stored);
        if (pending_.changes)
            stage(records, record);
        return pending_.changes;
    }
    [[nodiscard]] bool changes() const { return pending_.changes; }
    /// Reserves the index entry of the staged value. Returns false if allocation fails. May enter a
    /// write section.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena, SeqLock &lock) {
        return pending_.head != no_record ||
               hash_index_.reserve(allocator, arena, lock, pending_.hash);
    }
    /// Looks up what unlink() will change, and moves the open cursors off the record.
    void stage_unlink(const RecordPool &records, CursorTable &cursors, RecordId id);

    /// Appends a record to the staged value's duplicate chain, or starts one. Requires a write
    /// section.
    void link(RecordPool &records, RecordId id);
    /// Unlinks the record of stage_unlink(). Requires a write section.
    void unlink(RecordPool &records, RecordId id);

    /// Positions a cursor before the records with the key value.
    void open(Cursor &cursor, CursorTable &cursors, const RecordPool &records, PackedKey value);
    /// Moves a cursor to the next record of the chain. Returns the record at its old position,
    /// no_record at the end.
    RecordId advance(Cursor &cursor, CursorTable &cursors, const RecordPool &records) const;

private:
    /// The change that is about to be made.
    struct Pending {
        Hash hash;         ///< of the record that is to be linked
        RecordId head;     ///< of the duplicate chain to append to, or no_record
        bool changes;      ///< set by a replacement only
        Hash old_hash;     ///< of the record that is to be unlinked
        RecordId old_head; ///< of the chain to unlink it from
    };

    template <class Source>
    [[nodiscard, gnu::noinline]] Found find_slow(const RecordPool &records, Source source) const {
        const Probe probe = key_.probe(source);
        Found found{no_record, nullptr};
        hash_index_.find(probe.hash, [&](RecordId id) {
            if (!records.exists(id) || !key_.matches(probe, records.words(id)))
                return false;
            found = {id, records.words(id)};
            return true;
        });
        return found;
    }
    [[nodiscard]] ChainLink &link_of(const RecordPool &records, RecordId id) const {
        return records.link(id, key_.number());
    }

    KeyDefinition key_;
    HashIndex hash_index_;
    Pending pending_{};
};

} // namespace l2vpn::platform
