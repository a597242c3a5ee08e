// SPDX-License-Identifier: MIT
#include "platform/store/hash_index.h"

namespace l2vpn::platform {

bool HashIndex::reserve(const Allocator &allocator, Arena &arena, Hash hash) {
    if (directory_ == nullptr && !create_directory(allocator, arena))
        return false;
    for (;;) {
        const Bucket &bucket = bucket_of(hash);
        if (bucket.count < bucket_limit)
            return true;
        // Buckets at the greatest depth fill up; the last free slot ends every search.
        if (bucket.depth == max_depth)
            return bucket.count + 1 < bucket_size;
        if (!split(allocator, arena, hash))
            return false;
    }
}

void HashIndex::insert(Hash hash, RecordId id) {
    insert(bucket_of(hash), make_slot(hash, id));
}

void HashIndex::erase(Hash hash, RecordId id) {
    Bucket &bucket = bucket_of(hash);
    auto hole = static_cast<std::uint32_t>(&slot_of(hash, id) - bucket.slots);
    // Entries after the hole move back into it, but never before their home slot.
    for (std::uint32_t at = next(hole);; at = next(at)) {
        const Slot slot = bucket.slots[at];
        if (slot == 0)
            break;
        const std::uint32_t distance = (at - home(HashIndex::hash(slot))) % bucket_size;
        if (distance >= (at - hole) % bucket_size) {
            store(bucket.slots[hole], slot);
            hole = at;
        }
    }
    store(bucket.slots[hole], Slot{0});
    --bucket.count;
}

void HashIndex::replace(Hash hash, RecordId id, RecordId by) {
    store(slot_of(hash, id), make_slot(hash, by));
}

HashIndex::Slot &HashIndex::slot_of(Hash hash, RecordId id) const {
    return const_cast<Slot &>(*find_slot(hash, [id](RecordId found) { return found == id; }));
}

void HashIndex::insert(Bucket &bucket, Slot slot) {
    std::uint32_t at = home(hash(slot));
    while (bucket.slots[at] != 0)
        at = next(at);
    store(bucket.slots[at], slot);
    ++bucket.count;
}

bool HashIndex::create_directory(const Allocator &allocator, Arena &arena) {
    if (!arena.reserve(allocator, sizeof(Bucket) + std::size_t{3} * 64))
        return false;
    auto *const bucket = static_cast<Bucket *>(arena.allocate(allocator, sizeof(Bucket)));
    auto *const directory =
        static_cast<Directory *>(arena.allocate(allocator, sizeof(Directory) + sizeof(Bucket *)));
    directory->buckets()[0] = bucket;
    __atomic_store_n(&directory_, directory, __ATOMIC_RELEASE);
    return true;
}

// Entries whose next hash bit is 1 move to the new bucket. The others are reinserted, because the
// holes would end searches.
bool HashIndex::split(const Allocator &allocator, Arena &arena, Hash hash) {
    Bucket &old = bucket_of(hash);
    if (old.depth == directory_->depth && !double_directory(allocator, arena))
        return false;
    auto *const upper = static_cast<Bucket *>(arena.allocate(allocator, sizeof(Bucket)));
    if (upper == nullptr)
        return false;
    Slot slots[bucket_size];
    std::memcpy(slots, old.slots, sizeof slots);
    for (Slot &slot : old.slots)
        store(slot, Slot{0});
    old.count = 0;
    upper->depth = ++old.depth;
    for (const Slot slot : slots)
        if (slot != 0)
            insert((HashIndex::hash(slot) >> (32 - old.depth) & 1) != 0 ? *upper : old, slot);
    // The old bucket's directory entries are adjacent; the upper half now refers to the new one.
    const std::size_t span = std::size_t{1} << (directory_->depth - old.depth);
    const std::size_t first = (prefix(hash, old.depth) | 1) * span;
    for (std::size_t i = 0; i < span; ++i)
        __atomic_store_n(&directory_->buckets()[first + i], upper, __ATOMIC_RELEASE);
    return true;
}

bool HashIndex::double_directory(const Allocator &allocator, Arena &arena) {
    const std::size_t size = std::size_t{1} << directory_->depth;
    auto *const larger = static_cast<Directory *>(
        arena.allocate(allocator, sizeof(Directory) + 2 * size * sizeof(Bucket *)));
    if (larger == nullptr)
        return false;
    larger->depth = directory_->depth + 1;
    for (std::size_t i = 0; i < 2 * size; ++i)
        larger->buckets()[i] = directory_->buckets()[i / 2];
    __atomic_store_n(&directory_, larger, __ATOMIC_RELEASE);
    return true;
}

} // namespace l2vpn::platform
