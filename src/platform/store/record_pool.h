// SPDX-License-Identifier: MIT
// The records of a table, in slots numbered from 0. Slots lie in chunks, which never move and are
// never freed. A slot holds the stored record, a chain link per secondary key, and the record's
// insert sequence number.
#pragma once

#include "platform/store/hash_index.h"

namespace l2vpn::platform {

/// Links a record into a duplicate chain: the records that share a value of one secondary key, as a
/// ring in the order in which they were linked. The hash index refers to the head.
struct ChainLink {
    RecordId next;
    RecordId previous;
    std::uint32_t count; ///< in the head: the chain's length; 0 in the others
};

class RecordPool {
public:
    /// `limit`: the greatest number of slots, a multiple of 64.
    RecordPool(std::size_t stored_length, std::size_t secondary_keys,
               RecordId limit = RecordId{1} << 31)
        : limit_(limit), record_words_(words_for(stored_length)),
          stride_(record_words_ + words_for(secondary_keys * sizeof(ChainLink)) + 1) {}

    // Optimistic readers may call these two. They return null for a slot that does not exist, which
    // a reader sees only inside a write section.

    [[nodiscard]] const Word *try_words(RecordId id) const {
        ChunkDirectory *const directory = __atomic_load_n(&directory_, __ATOMIC_ACQUIRE);
        if (directory == nullptr ||
            id / chunk_size >= __atomic_load_n(&directory->count, __ATOMIC_ACQUIRE))
            return nullptr;
        return directory->chunk(id / chunk_size) + id % chunk_size * stride_;
    }
    [[nodiscard]] const ChainLink *try_link(RecordId id, std::size_t key) const {
        const Word *const at = try_words(id);
        return at == nullptr ? nullptr
                             : &reinterpret_cast<const ChainLink *>(at + record_words_)[key - 1];
    }

    // The functions below require the write lock.

    /// Reserves one slot; `arena` holds the directory. Returns false if allocation fails.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena);
    /// Allocates a slot that reserve() has reserved, with a new insert sequence number. The record
    /// and its links are undefined.
    RecordId allocate();
    /// Puts a slot on the free list.
    void free(RecordId id);

    /// The words of a record.
    [[nodiscard]] Word *words(RecordId id) const {
        return directory_->chunk(id / chunk_size) + id % chunk_size * stride_;
    }
    /// A record's link in the chain of secondary key `key`, 1 or more.
    [[nodiscard]] ChainLink &link(RecordId id, std::size_t key) const {
        return reinterpret_cast<ChainLink *>(words(id) + record_words_)[key - 1];
    }

    /// A record's insert sequence number; 0 if the slot is free.
    [[nodiscard]] Word insert_sequence(RecordId id) const { return words(id)[stride_ - 1]; }
    /// The greatest insert sequence number in use.
    [[nodiscard]] Word last_sequence() const { return last_sequence_; }
    /// One more than the highest slot ever used.
    [[nodiscard]] RecordId end() const { return end_; }

private:
    static constexpr std::size_t chunk_size = 64;

    /// Followed by `capacity` pointers, of which `count` are set.
    struct ChunkDirectory {
        std::size_t count;
        std::size_t capacity;

        Word *&chunk(std::size_t i) { return reinterpret_cast<Word **>(this + 1)[i]; }
    };

    RecordId limit_;
    std::size_t record_words_;
    std::size_t stride_; ///< of slots, in words
    ChunkDirectory *directory_ = nullptr;
    Arena arena_; ///< for the chunks
    RecordId end_ = 0;
    RecordId free_list_ = no_record; ///< linked through the first word of a slot
    Word last_sequence_ = 0;
};

} // namespace l2vpn::platform
