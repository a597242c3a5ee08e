// SPDX-License-Identifier: MIT
// Finds a record by the hash of a key. An extendible hash table: the hash's upper bits choose a
// bucket, its lower bits a place in it, and a full bucket is split in two. Growing thus moves
// some hundred entries at a time and frees nothing that a reader might look at.
#pragma once

#include "platform/store/arena.h"
#include "platform/store/key_definition.h"

namespace l2vpn::platform {

/// A record's number in its table.
using RecordId = std::uint32_t;
constexpr RecordId no_record = UINT32_MAX;

class HashIndex {
public:
    /// Looks for the record with the hash for which matches(id) is true. Another thread may be
    /// changing the index; then the result means nothing.
    template <class Matches>
    bool find(Hash hash, Matches matches) const {
        return find_slot(hash, matches) != nullptr;
    }

    // What follows is for the one thread that may change the index.

    /// Makes room for one more record with the hash; false without memory.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena, Hash hash);
    /// Adds a record that reserve() has made room for.
    void insert(Hash hash, RecordId id);
    /// Takes a record out that is there.
    void erase(Hash hash, RecordId id);
    /// Puts another record in the place of one that is there, under the same hash.
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
        std::uint32_t depth; ///< number of the hash's upper bits that all its entries share
    };

    /// 2^depth pointers follow.
    struct alignas(Bucket *) Directory {
        std::uint32_t depth;

        Bucket **buckets() { return reinterpret_cast<Bucket **>(this + 1); }
        [[nodiscard]] Bucket *const *buckets() const {
            return reinterpret_cast<Bucket *const *>(this + 1);
        }
    };
    static_assert(sizeof(Word) == sizeof(Bucket *));

    static constexpr RecordId record(Slot slot) { return static_cast<RecordId>(slot) - 1; }
    static constexpr Hash hash(Slot slot) { return static_cast<Hash>(slot >> 32); }
    static constexpr Slot make_slot(Hash hash, RecordId id) { return Slot{hash} << 32 | (id + 1); }
    static constexpr std::uint32_t home(Hash hash) { return hash % bucket_size; }
    static constexpr std::uint32_t next(std::uint32_t at) { return (at + 1) % bucket_size; }
    static constexpr std::size_t place(Hash hash, std::uint32_t depth) {
        return Word{hash} >> (32 - depth);
    }

    [[nodiscard]] Bucket &bucket_of(Hash hash) const {
        return *directory_->buckets()[place(hash, directory_->depth)];
    }

    template <class Matches>
    const Slot *find_slot(Hash wanted, Matches matches) const {
        const Directory *const directory = __atomic_load_n(&directory_, __ATOMIC_ACQUIRE);
        if (directory == nullptr)
            return nullptr;
        const Bucket *const in = __atomic_load_n(
            &directory->buckets()[place(wanted, directory->depth)], __ATOMIC_ACQUIRE);
        std::uint32_t at = home(wanted);
        // A free slot ends the search, but for a reader to whom a change shows others each time.
        std::uint32_t n = 0;
        do {
            const Slot slot = load(in->slots[at]);
            if (slot == 0)
                return nullptr;
            if (hash(slot) == wanted && matches(record(slot)))
                return &in->slots[at];
            at = next(at);
        } while (++n < bucket_size); // unreachable: the other way, but in the middle of a change
        return nullptr;              // unreachable: as the line above
    }

    Slot &slot_of(Hash hash, RecordId id) const;
    bool start(const Allocator &allocator, Arena &arena);
    bool split(const Allocator &allocator, Arena &arena, Hash hash);
    bool double_directory(const Allocator &allocator, Arena &arena);
    static void add(Bucket &bucket, Slot slot);

    Directory *directory_ = nullptr;
};

} // namespace l2vpn::platform
