// SPDX-License-Identifier: MIT
// One key of a table: its definition, the hash index of its values, the duplicate chains of the
// records that share a value, and the cursors that are open over it.
#pragma once

#include "platform/store/cursor_table.h"
#include "platform/store/key_definition.h"

namespace l2vpn::platform {

class Index {
public:
    explicit Index(const KeyDefinition &key) : key_(key) {}

    [[nodiscard]] const KeyDefinition &key() const { return key_; }
    [[nodiscard]] bool is_primary() const { return key_.number() == 0; }

    struct Found {
        RecordId id;
        const Word *words;
    };

    // Optimistic readers may call these two; inside a write section the results are meaningless.

    /// Finds the record with the key value of `source`; of a duplicate chain, its head.
    template <class Source>
    [[nodiscard]] Found find(const RecordPool &records, Hash hash, Source source) const {
        Found found{no_record, nullptr};
        hash_index_.find(hash, [&](RecordId id) {
            const Word *const words = records.try_words(id);
            if (words == nullptr) // unreachable: except inside a write section
                return false;     // unreachable: as the line above
            if (!key_.matches(source, words))
                return false;
            found = {id, words};
            return true;
        });
        return found;
    }
    /// Counts the records with the key value.
    [[nodiscard]] std::uint32_t count(const RecordPool &records, Hash hash, PackedKey value) const;

    // The functions below require the write lock.

    /// Looks up the key value of a record that is to be written, for reserve() and link(). Returns
    /// the head of its duplicate chain, or no_record.
    RecordId stage(const RecordPool &records, const char *record) {
        pending_.hash = key_.hash(record);
        return pending_.chain = find(records, pending_.hash, record).id;
    }
    /// Stages a record that is to replace a stored one, if its key value differs. Returns
    /// changes().
    bool stage_change(const RecordPool &records, const char *record, const Word *stored) {
        pending_.changes = !key_.matches(record, stored);
        if (pending_.changes)
            stage(records, record);
        return pending_.changes;
    }
    [[nodiscard]] bool changes() const { return pending_.changes; }
    /// Reserves the index entry of the staged value. Returns false if allocation fails.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena) {
        return pending_.chain != no_record || hash_index_.reserve(allocator, arena, pending_.hash);
    }

    /// Appends a record to the staged value's duplicate chain, or starts one. Cannot fail after
    /// reserve().
    void link(RecordPool &records, RecordId id);
    /// Unlinks a record that still has its old contents; `hash` is that of its key value.
    void unlink(RecordPool &records, RecordId id, Hash hash);

    /// Positions a cursor before the records with the key value and adds it to the open ones.
    void open(Cursor &cursor, const RecordPool &records, PackedKey value);
    void close(Cursor &cursor);
    /// Moves a cursor to the next record of the chain. Returns the record at its old position,
    /// no_record at the end.
    RecordId advance(Cursor &cursor, const RecordPool &records) const;

private:
    /// The key value of the record that is being written.
    struct PendingKey {
        Hash hash;
        RecordId chain; ///< the head of the chain to append to, or no_record
        bool changes;   ///< set by a replacement only
    };

    [[nodiscard]] ChainLink &link_of(const RecordPool &records, RecordId id) const {
        return records.link(id, key_.number());
    }
    void skip_in_cursors(const RecordPool &records, RecordId id);

    KeyDefinition key_;
    HashIndex hash_index_;
    PendingKey pending_{};
    Cursor *newest_ = nullptr; ///< the open cursors, linked through `older`
};

} // namespace l2vpn::platform
