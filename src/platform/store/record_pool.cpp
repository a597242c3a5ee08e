// SPDX-License-Identifier: MIT
#include "platform/store/record_pool.h"

#include <algorithm>

namespace l2vpn::platform {

namespace {

/// Large, so that the chunk directory of a large table stays in the cache; but not for a small
/// table.
constexpr std::size_t max_chunk_bytes = std::size_t{64} << 10;
constexpr std::uint32_t min_chunk_slots = 64;

} // namespace

RecordPool::RecordPool(std::size_t stored_length, std::size_t secondary_keys, RecordId limit)
    : stride_(words_for(stored_length) + secondary_keys * words_for(sizeof(ChainLink)) + 1),
      record_words_(words_for(stored_length)), record_length_(stored_length), limit_(limit) {
    const std::size_t slots = max_chunk_bytes / (stride_ * sizeof(Word));
    chunk_bits_ = static_cast<std::uint32_t>(
        std::bit_width(std::max<std::size_t>(slots, min_chunk_slots)) - 1);
    chunk_mask_ = (RecordId{1} << chunk_bits_) - 1;
}

bool RecordPool::reserve(const Allocator &allocator, Arena &arena) {
    if (free_list_ != no_record)
        return true;
    if (end_ == limit_ || (end_ == slots_ && !reserve_chunk(allocator, arena)))
        return false;
    return end_ % 64 != 0 || occupancy_.reserve(allocator, arena, end_ / 64);
}

// Until the table has a whole chunk, the only chunk is replaced by one of twice its size. A reader
// may continue in the old one: its contents stay as they were, and the version changes with the
// first write to the new one.
bool RecordPool::reserve_chunk(const Allocator &allocator, Arena &arena) {
    const std::uint32_t whole = 1U << chunk_bits_;
    const std::uint32_t old = slots_ < whole ? slots_ : 0; // slots to copy
    const std::uint32_t size =
        old != 0 ? 2 * old : std::min(whole, std::max(min_chunk_slots, slots_));
    const std::uint32_t number = slots_ >> chunk_bits_;
    if (number == capacity_) {
        const std::uint32_t capacity = std::max(8U, 2 * capacity_);
        auto *const larger =
            static_cast<Word **>(arena.allocate(allocator, capacity * sizeof(Word *)));
        if (larger == nullptr)
            return false;
        std::copy_n(chunks_, number, larger);
        capacity_ = capacity;
        __atomic_store_n(&chunks_, larger, __ATOMIC_RELEASE);
    }
    auto *const chunk =
        static_cast<Word *>(chunk_arena_.allocate(allocator, size * stride_ * sizeof(Word)));
    if (chunk == nullptr)
        return false;
    if (old != 0)
        std::memcpy(chunk, chunks_[0], old * stride_ * sizeof(Word));
    std::memset(chunk + old * stride_, 0, (size - old) * stride_ * sizeof(Word));
    __atomic_store_n(&chunks_[number], chunk, __ATOMIC_RELEASE);
    __atomic_store_n(&slots_, slots_ - old + size, __ATOMIC_RELEASE);
    return true;
}

RecordId RecordPool::allocate(const char *record) {
    RecordId id = free_list_;
    if (id != no_record)
        free_list_ = static_cast<RecordId>(words(id)[0]);
    else
        id = end_++;
    Word *const slot = words(id);
    copy_in(slot, record, record_length_);
    store(slot[stride_ - 1], ++last_sequence_);
    occupancy_[id / 64] |= Word{1} << id % 64;
    return id;
}

void RecordPool::free(RecordId id) {
    store(words(id)[0], Word{free_list_});
    occupancy_[id / 64] &= ~(Word{1} << id % 64);
    free_list_ = id;
}

bool RecordPool::find_in_use(RecordId &at, RecordId end, std::uint32_t &looks) const {
    for (; looks != 0 && at < end; --looks) {
        const Word used = occupancy_[at / 64] >> at % 64;
        if (used != 0) {
            at = std::min(at + static_cast<RecordId>(std::countr_zero(used)), end);
            return at != end;
        }
        at = std::min((at / 64 + 1) * 64, end);
    }
    return false;
}

} // namespace l2vpn::platform
