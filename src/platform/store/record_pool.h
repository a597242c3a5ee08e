// SPDX-License-Identifier: MIT
// The records of a table, in slots numbered from 0. Slots lie in chunks, which are never freed. A
// slot holds the stored record, a chain link per secondary key, and the record's insert sequence
// number.
#pragma once

#include "platform/store/chunked_array.h"
#include "platform/store/index_line.h"

namespace l2vpn::platform {

/// Links a record into a duplicate chain: the records that share a value of one secondary key, in
/// the order in which they were linked. The hash index refers to the head.
struct ChainLink {
    RecordId next;     ///< in the tail: chain_end plus the chain's length
    RecordId previous; ///< in the head: the tail

    static constexpr RecordId chain_end = RecordId{1} << 31;

    [[nodiscard]] bool is_tail() const { return (next & chain_end) != 0; }
};

class RecordPool {
public:
    static constexpr RecordId max_records = ChainLink::chain_end;

    RecordPool(std::size_t stored_length, std::size_t secondary_keys, RecordId limit = max_records);

    // Optimistic readers may call these.

    /// Whether the slot exists; always true outside write sections.
    [[nodiscard]] bool exists(RecordId id) const {
        return id < __atomic_load_n(&slots_, __ATOMIC_ACQUIRE);
    }
    /// The words of a record in a slot that exists.
    [[nodiscard]] Word *words(RecordId id) const {
        return load(__atomic_load_n(&chunks_, __ATOMIC_ACQUIRE)[id >> chunk_bits_]) +
               (id & chunk_mask_) * stride_;
    }
    /// A record's link in the chain of secondary key `key`, 1 or more.
    [[nodiscard]] ChainLink &link(RecordId id, std::size_t key) const {
        return reinterpret_cast<ChainLink *>(words(id) + record_words_)[key - 1];
    }
    /// Prefetches a slot, if it exists.
    void prefetch(RecordId id) const {
        if (!exists(id))
            return;
        const Word *const at = words(id);
        for (std::size_t word = 0; word < stride_; word += 8)
            __builtin_prefetch(at + word);
    }

    // The functions below require the write lock.

    /// Reserves one slot; `arena` holds the directory. Returns false if allocation fails.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena);
    /// Allocates a slot that reserve() has reserved, with a new insert sequence number, and copies
    /// a record into it. The links are undefined.
    RecordId allocate(const char *record);
    /// Puts a slot on the free list.
    void free(RecordId id);

    /// A record's insert sequence number.
    [[nodiscard]] Word insert_sequence(RecordId id) const { return words(id)[stride_ - 1]; }
    /// The greatest insert sequence number in use.
    [[nodiscard]] Word last_sequence() const { return last_sequence_; }
    /// One more than the highest slot ever used.
    [[nodiscard]] RecordId end() const { return end_; }
    /// Moves `at` to the next slot below `end` that is in use, itself included, and returns true.
    /// Looks at 64 slots at a time, `looks` times at most, which it counts down; returns false at
    /// `end`, or where to continue.
    [[nodiscard]] bool find_in_use(RecordId &at, RecordId end, std::uint32_t &looks) const;

private:
    [[nodiscard]] bool reserve_chunk(const Allocator &allocator, Arena &arena);

    std::uint32_t slots_ = 0; ///< of all chunks
    std::uint32_t chunk_bits_;
    RecordId chunk_mask_;
    Word **chunks_ = nullptr; ///< the chunk directory
    std::size_t stride_;      ///< of slots, in words
    std::size_t record_words_;
    std::size_t record_length_;
    RecordId limit_;
    std::uint32_t capacity_ = 0; ///< of the chunk directory
    RecordId end_ = 0;
    RecordId free_list_ = no_record; ///< linked through the first word of a slot
    Word last_sequence_ = 0;
    ChunkedArray<Word> occupancy_; ///< a bit per slot
    Arena chunk_arena_;
};

} // namespace l2vpn::platform
