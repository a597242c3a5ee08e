// SPDX-License-Identifier: MIT
// The records of a table, numbered from 0, in chunks that stay where they are. Behind each record
// stand its links in the groups of the secondary keys and its insert_sequence number.
#pragma once

#include "platform/store/hash_index.h"

namespace l2vpn::platform {

/// A record's place in a group: the records with one value of one secondary key, in a ring, in the
/// order in which they joined. The group is represented by its first record.
struct ChainLink {
    RecordId next;
    RecordId previous;
    std::uint32_t count; ///< of the group, in its first record; 0 in the others
};

class RecordPool {
public:
    RecordPool() = default;
    /// Of at most `limit` records, a multiple of 64.
    RecordPool(std::size_t stored_length, std::size_t secondary_keys,
               RecordId limit = RecordId{1} << 31)
        : limit_(limit), record_words_(words_for(stored_length)),
          stride_(record_words_ + words_for(secondary_keys * sizeof(ChainLink)) + 1) {}

    /// Makes sure that there is a free number; false without memory. The table's arena holds the
    /// directory.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &table);

    /// Takes a number that reserve() has made sure of. Its record is born but without contents.
    RecordId allocate();

    /// Gives a number back.
    void free(RecordId id);

    /// The words of a record; null for a number that no record ever had, as a reader may see one
    /// while the table changes.
    [[nodiscard]] const Word *find(RecordId id) const {
        const Chunks *const chunks = __atomic_load_n(&chunks_, __ATOMIC_ACQUIRE);
        if (chunks == nullptr ||
            id / chunk_size >= __atomic_load_n(&chunks->count, __ATOMIC_ACQUIRE))
            return nullptr;
        return chunks->at(id / chunk_size) + id % chunk_size * stride_;
    }

    [[nodiscard]] Word *words(RecordId id) const {
        return chunks_->at(id / chunk_size) + id % chunk_size * stride_;
    }

    /// A record's link in the group of secondary key `key`, 1 or more.
    [[nodiscard]] ChainLink &link(RecordId id, std::size_t key) const {
        return reinterpret_cast<ChainLink *>(words(id) + record_words_)[key - 1];
    }
    [[nodiscard]] const ChainLink *try_link(RecordId id, std::size_t key) const {
        const Word *const at = find(id);
        return at == nullptr ? nullptr
                             : &reinterpret_cast<const ChainLink *>(at + record_words_)[key - 1];
    }

    /// When the record was born, counted in last_sequence; 0 if the number is free.
    [[nodiscard]] Word insert_sequence(RecordId id) const { return words(id)[stride_ - 1]; }
    [[nodiscard]] Word last_sequence() const { return last_sequence_; }

    /// One more than the highest number ever used.
    [[nodiscard]] RecordId end() const { return end_; }

private:
    static constexpr std::size_t chunk_size = 64;

    /// `room` pointers follow, `count` of them are set.
    struct Chunks {
        std::size_t count;
        std::size_t room;

        Word *&at(std::size_t i) { return reinterpret_cast<Word **>(this + 1)[i]; }
        [[nodiscard]] Word *at(std::size_t i) const {
            return reinterpret_cast<Word *const *>(this + 1)[i];
        }
    };

    RecordId limit_ = 0;
    std::size_t record_words_ = 0;
    std::size_t stride_ = 0;
    Chunks *chunks_ = nullptr;
    Arena arena_; ///< of chunks only
    RecordId end_ = 0;
    RecordId free_ = no_record; ///< a free record's first word is the next free number
    Word last_sequence_ = 0;
};

} // namespace l2vpn::platform
