// SPDX-License-Identifier: MIT
// Extendible hash table from the hash of a key value to a record. The upper bits of the hash select
// a bucket in a directory, the lower bits a home slot in the bucket; collisions probe linearly. A
// full bucket is split in two, so that growth moves a few hundred entries at a time. Directories
// that have been replaced are never freed, because a reader may still access one.
#pragma once

#include "platform/store/arena.h"
#include "platform/store/key_definition.h"

namespace l2vpn::platform {

/// A record's slot in the record pool.
using RecordId = std::uint32_t;
constexpr RecordId no_record = UINT32_MAX;

class HashIndex {
public:
    /// Finds the record with the hash for which matches(id) is true. Optimistic readers may call
    /// this; inside a write section the result is meaningless.
    template <class Matches>
    bool find(Hash hash, Matches matches) const {
        return find_slot(hash, matches) != nullptr;
    }

    // The functions below require the write lock.

    /// Reserves a slot for the hash. Returns false if allocation fails, or if the hash's bucket is
    /// full and cannot be split.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena, Hash hash);
    /// Inserts a record into a slot that reserve() has reserved.
    void insert(Hash hash, RecordId id);
    /// Erases a record that the index holds.
    void erase(Hash hash, RecordId id);
    /// Replaces a record that the index holds by another one with the same hash.
    void replace(Hash hash, RecordId id, RecordId by);

private:
    /// hash << 32 | record + 1; 0 if free.
    using Slot = Word;

    static constexpr std::uint32_t bucket_size = 512;
    static constexpr std::uint32_t bucket_limit = bucket_size / 8 * 7;
    static constexpr std::uint32_t max_depth = 24;

    struct Bucket {
        Slot slots[bucket_size];
        std::uint32_t count;
        std::uint32_t depth; ///< how many upper bits of the hash all its entries share
    };

    /// Followed by 2^depth pointers, indexed by the upper bits of the hash.
    struct alignas(Bucket *) Directory {
        std::uint32_t depth;

        Bucket **buckets() { return reinterpret_cast<Bucket **>(this + 1); }
    };
    static_assert(sizeof(Word) == sizeof(Bucket *));

    static constexpr RecordId record(Slot slot) { return static_cast<RecordId>(slot) - 1; }
    static constexpr Hash hash(Slot slot) { return static_cast<Hash>(slot >> 32); }
    static constexpr Slot make_slot(Hash hash, RecordId id) { return Slot{hash} << 32 | (id + 1); }
    static constexpr std::uint32_t home(Hash hash) { return hash % bucket_size; }
    static constexpr std::uint32_t next(std::uint32_t at) { return (at + 1) % bucket_size; }
    static constexpr std::size_t prefix(Hash hash, std::uint32_t depth) {
        return Word{hash} >> (32 - depth);
    }

    [[nodiscard]] Bucket &bucket_of(Hash hash) const {
        return *directory_->buckets()[prefix(hash, directory_->depth)];
    }

    template <class Matches>
    const Slot *find_slot(Hash wanted, Matches matches) const {
        Directory *const directory = __atomic_load_n(&directory_, __ATOMIC_ACQUIRE);
        if (directory == nullptr)
            return nullptr;
        const Bucket *const bucket = __atomic_load_n(
            &directory->buckets()[prefix(wanted, directory->depth)], __ATOMIC_ACQUIRE);
        std::uint32_t at = home(wanted);
        // A free slot ends every search. Bounded so that a racing reader terminates.
        std::uint32_t n = 0;
        do {
            const Slot slot = load(bucket->slots[at]);
            if (slot == 0)
                return nullptr;
            if (hash(slot) == wanted && matches(record(slot)))
                return &bucket->slots[at];
            at = next(at);
        } while (++n < bucket_size); // unreachable: the false branch, except in a write section
        return nullptr;              // unreachable: as the line above
    }

    Slot &slot_of(Hash hash, RecordId id) const;
    bool create_directory(const Allocator &allocator, Arena &arena);
    bool double_directory(const Allocator &allocator, Arena &arena);
    bool split(const Allocator &allocator, Arena &arena, Hash hash);
    static void insert(Bucket &bucket, Slot slot);

    Directory *directory_ = nullptr; ///< null until the first reserve()
};

} // namespace l2vpn::platform
