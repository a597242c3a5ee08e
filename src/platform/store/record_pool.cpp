// SPDX-License-Identifier: MIT
#include "platform/store/record_pool.h"

#include <algorithm>

namespace l2vpn::platform {

bool RecordPool::reserve(const Allocator &allocator, Arena &arena) {
    const std::size_t chunks = directory_ == nullptr ? 0 : directory_->count;
    if (free_list_ != no_record || end_ < chunks * chunk_size)
        return true;
    if (end_ >= limit_)
        return false;
    if (directory_ == nullptr || chunks == directory_->capacity) {
        const std::size_t capacity = std::max<std::size_t>(8, 2 * chunks);
        auto *const larger = static_cast<ChunkDirectory *>(
            arena.allocate(allocator, sizeof(ChunkDirectory) + capacity * sizeof(Word *)));
        if (larger == nullptr)
            return false;
        larger->capacity = capacity;
        larger->count = chunks;
        for (std::size_t i = 0; i < chunks; ++i)
            larger->chunk(i) = directory_->chunk(i);
        __atomic_store_n(&directory_, larger, __ATOMIC_RELEASE);
    }
    auto *const chunk =
        static_cast<Word *>(arena_.allocate(allocator, chunk_size * stride_ * sizeof(Word)));
    if (chunk == nullptr)
        return false;
    directory_->chunk(chunks) = chunk;
    __atomic_store_n(&directory_->count, chunks + 1, __ATOMIC_RELEASE);
    return true;
}

RecordId RecordPool::allocate() {
    RecordId id = free_list_;
    if (id != no_record)
        free_list_ = static_cast<RecordId>(words(id)[0]);
    else
        id = end_++;
    store(words(id)[stride_ - 1], ++last_sequence_);
    return id;
}

void RecordPool::free(RecordId id) {
    store(words(id)[0], Word{free_list_});
    store(words(id)[stride_ - 1], Word{0});
    free_list_ = id;
}

} // namespace l2vpn::platform
