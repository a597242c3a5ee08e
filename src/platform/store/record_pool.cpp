// SPDX-License-Identifier: MIT
#include "platform/store/record_pool.h"

#include <algorithm>

namespace l2vpn::platform {

bool RecordPool::reserve(const Allocator &allocator, Arena &table) {
    const std::size_t chunks = chunks_ == nullptr ? 0 : chunks_->count;
    if (free_ != no_record || end_ < chunks * chunk_size)
        return true;
    if (end_ >= limit_)
        return false;
    if (chunks_ == nullptr || chunks == chunks_->room) {
        const std::size_t room = std::max<std::size_t>(8, 2 * chunks);
        auto *const longer = static_cast<Chunks *>(
            table.allocate(allocator, sizeof(Chunks) + room * sizeof(Word *)));
        if (longer == nullptr)
            return false;
        longer->room = room;
        longer->count = chunks;
        for (std::size_t i = 0; i < chunks; ++i)
            longer->at(i) = chunks_->at(i);
        __atomic_store_n(&chunks_, longer, __ATOMIC_RELEASE);
    }
    auto *const chunk =
        static_cast<Word *>(arena_.allocate(allocator, chunk_size * stride_ * sizeof(Word)));
    if (chunk == nullptr)
        return false;
    chunks_->at(chunks) = chunk;
    __atomic_store_n(&chunks_->count, chunks + 1, __ATOMIC_RELEASE);
    return true;
}

RecordId RecordPool::allocate() {
    RecordId id = free_;
    if (id != no_record)
        free_ = static_cast<RecordId>(words(id)[0]);
    else
        id = end_++;
    store(words(id)[stride_ - 1], ++last_sequence_);
    return id;
}

void RecordPool::free(RecordId id) {
    store(words(id)[0], Word{free_});
    store(words(id)[stride_ - 1], Word{0});
    free_ = id;
}

} // namespace l2vpn::platform
