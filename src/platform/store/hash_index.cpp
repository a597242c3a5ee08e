// SPDX-License-Identifier: MIT
#include "platform/store/hash_index.h"

namespace l2vpn::platform {

bool KeyIndex::prepare(const Memory &memory, Arena &arena, Hash hash) {
    if (directory_ == nullptr && !start(memory, arena))
        return false;
    for (;;) {
        const Segment &segment = own_segment(hash);
        if (segment.count < segment_limit)
            return true;
        // So many keys with one hash do not occur; one slot stays free to end every search.
        if (segment.depth == max_depth)
            return segment.count + 1 < segment_size;
        if (!split(memory, arena, hash))
            return false;
    }
}

void KeyIndex::insert(Hash hash, RecordId id) {
    add(own_segment(hash), make_slot(hash, id));
}

void KeyIndex::erase(Hash hash, RecordId id) {
    Segment &segment = own_segment(hash);
    auto hole = static_cast<std::uint32_t>(&slot_of(hash, id) - segment.slots);
    // Entries behind the hole move up if that brings them no further than their home.
    for (std::uint32_t at = next(hole);; at = next(at)) {
        const Slot slot = segment.slots[at];
        if (slot == 0)
            break;
        const std::uint32_t distance = (at - home(KeyIndex::hash(slot))) % segment_size;
        if (distance >= (at - hole) % segment_size) {
            store(segment.slots[hole], slot);
            hole = at;
        }
    }
    store(segment.slots[hole], Slot{0});
    --segment.count;
}

void KeyIndex::replace(Hash hash, RecordId id, RecordId by) {
    store(slot_of(hash, id), make_slot(hash, by));
}

KeyIndex::Slot &KeyIndex::slot_of(Hash hash, RecordId id) const {
    return const_cast<Slot &>(*find_slot(hash, [id](RecordId found) { return found == id; }));
}

void KeyIndex::add(Segment &segment, Slot slot) {
    std::uint32_t at = home(hash(slot));
    while (segment.slots[at] != 0)
        at = next(at);
    store(segment.slots[at], slot);
    ++segment.count;
}

bool KeyIndex::start(const Memory &memory, Arena &arena) {
    if (!arena.reserve(memory, sizeof(Segment) + std::size_t{3} * 64))
        return false;
    auto *const segment = static_cast<Segment *>(arena.take(memory, sizeof(Segment)));
    auto *const directory =
        static_cast<Directory *>(arena.take(memory, sizeof(Directory) + sizeof(Segment *)));
    directory->segments()[0] = segment;
    __atomic_store_n(&directory_, directory, __ATOMIC_RELEASE);
    return true;
}

// Entries whose next bit is 1 move to the new segment; the others are placed anew, as searches must
// not end at the holes.
bool KeyIndex::split(const Memory &memory, Arena &arena, Hash hash) {
    Segment &old = own_segment(hash);
    if (old.depth == directory_->depth && !double_directory(memory, arena))
        return false;
    auto *const upper = static_cast<Segment *>(arena.take(memory, sizeof(Segment)));
    if (upper == nullptr)
        return false;
    Slot slots[segment_size];
    std::memcpy(slots, old.slots, sizeof slots);
    for (Slot &slot : old.slots)
        store(slot, Slot{0});
    old.count = 0;
    upper->depth = ++old.depth;
    for (const Slot slot : slots)
        if (slot != 0)
            add((KeyIndex::hash(slot) >> (32 - old.depth) & 1) != 0 ? *upper : old, slot);
    // The segment's places in the directory are neighbours; the upper half changes hands.
    const std::size_t span = std::size_t{1} << (directory_->depth - old.depth);
    const std::size_t first = (place(hash, old.depth) | 1) * span;
    for (std::size_t i = 0; i < span; ++i)
        __atomic_store_n(&directory_->segments()[first + i], upper, __ATOMIC_RELEASE);
    return true;
}

bool KeyIndex::double_directory(const Memory &memory, Arena &arena) {
    const std::size_t places = std::size_t{1} << directory_->depth;
    auto *const larger = static_cast<Directory *>(
        arena.take(memory, sizeof(Directory) + 2 * places * sizeof(Segment *)));
    if (larger == nullptr)
        return false;
    larger->depth = directory_->depth + 1;
    for (std::size_t i = 0; i < 2 * places; ++i)
        larger->segments()[i] = directory_->segments()[i / 2];
    __atomic_store_n(&directory_, larger, __ATOMIC_RELEASE);
    return true;
}

} // namespace l2vpn::platform
