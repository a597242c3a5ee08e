// SPDX-License-Identifier: MIT
// The store's classes in isolation, in states that a whole store reaches rarely.
#include <gtest/gtest.h>

#include <barrier>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include <pthread.h>

#include "platform/store/cursor_table.h"
#include "platform/store/events.h"

namespace {

bool reject_aligned = false;
std::uint32_t allocations_left = UINT32_MAX;
std::vector<std::unique_ptr<char[]>> blocks; // an arena frees nothing

void *allocate(std::size_t size) {
    if (allocations_left == 0)
        return nullptr;
    --allocations_left;
    blocks.push_back(std::make_unique<char[]>(size));
    return blocks.back().get();
}

void release(void *) {}

} // namespace

/// Replaces the C library's function, which cannot be made to fail.
extern "C" void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    void *block = nullptr;
    return reject_aligned || posix_memalign(&block, alignment, size) != 0 ? nullptr : block;
}

namespace l2vpn::platform {
namespace {

L2vpnDbModuleIntf services(L2vpnStoreAllocateFn allocating, L2vpnStoreReleaseFn releasing) {
    return {
        {reinterpret_cast<std::uintptr_t>(allocating), reinterpret_cast<std::uintptr_t>(releasing)},
        0};
}

class StoreParts : public testing::Test {
protected:
    StoreParts() { allocations_left = UINT32_MAX; }
    ~StoreParts() override {
        blocks.clear();
        reject_aligned = false;
    }
    StoreParts(const StoreParts &) = delete;
    StoreParts &operator=(const StoreParts &) = delete;

    const L2vpnDbModuleIntf module_ = services(allocate, release);
    const Allocator allocator_{&module_};
    Arena arena_;
};

TEST(StoreAllocator, IsMallocOnlyIfBothFunctionsAre) {
    EXPECT_TRUE(Allocator(nullptr).is_malloc());
    for (const auto &[module, own] : {std::pair{services(std::malloc, std::free), true},
                                      std::pair{services(allocate, std::free), false},
                                      std::pair{services(std::malloc, release), false},
                                      std::pair{services(allocate, release), false},
                                      // One function alone is ignored.
                                      std::pair{services(allocate, nullptr), true},
                                      std::pair{services(nullptr, release), true}})
        EXPECT_EQ(Allocator(&module).is_malloc(), own);
}

TEST_F(StoreParts, ArenaAllocatesZeroedCacheLines) {
    char *last = nullptr;
    for (const std::size_t size : {1U, 64U, 65U, 5000U, 3U}) {
        auto *const piece = static_cast<char *>(arena_.allocate(allocator_, size));
        ASSERT_NE(piece, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 64, 0U);
        EXPECT_EQ(std::count(piece, piece + size, '\0'), static_cast<std::ptrdiff_t>(size));
        std::memset(piece, 0xA5, (size + 63) / 64 * 64);
        EXPECT_NE(piece, last);
        last = piece;
    }
}

TEST_F(StoreParts, ArenaAllocatesFromItsReserve) {
    ASSERT_TRUE(arena_.reserve(allocator_, 1000));
    allocations_left = 0;
    EXPECT_TRUE(arena_.reserve(allocator_, 1000));
    EXPECT_NE(arena_.allocate(allocator_, 500), nullptr);
    EXPECT_FALSE(arena_.reserve(allocator_, 10'000));
    EXPECT_NE(arena_.allocate(allocator_, 300), nullptr) << "a failed reserve must change nothing";
}

/// Allocates `total` bytes in pieces of 1 MiB.
void fill(Arena &arena, const Allocator &allocator, std::size_t total) {
    constexpr std::size_t piece = std::size_t{1} << 20;
    for (std::size_t taken = 0; taken < total; taken += piece)
        ASSERT_NE(arena.allocate(allocator, piece), nullptr);
}

TEST_F(StoreParts, LargeArenaUsesHugePages) {
    const Allocator own(nullptr);
    fill(arena_, own, std::size_t{12} << 20);
    void *const piece = arena_.allocate(own, std::size_t{2} << 20);
    ASSERT_NE(piece, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(piece) % (std::size_t{2} << 20), 0U);
    reject_aligned = true;
    EXPECT_EQ(arena_.allocate(own, std::size_t{2} << 20), nullptr);
    reject_aligned = false;
    EXPECT_NE(arena_.allocate(own, std::size_t{2} << 20), nullptr);
    // An allocation larger than a huge page comes from malloc.
    reject_aligned = true;
    EXPECT_NE(arena_.allocate(own, std::size_t{3} << 20), nullptr);
}

TEST_F(StoreParts, LargeArenaUsesARegisteredService) {
    fill(arena_, allocator_, std::size_t{12} << 20);
    reject_aligned = true;
    EXPECT_NE(arena_.allocate(allocator_, std::size_t{1} << 20), nullptr);
    allocations_left = 0;
    EXPECT_EQ(arena_.allocate(allocator_, std::size_t{2} << 20), nullptr);
}

TEST_F(StoreParts, HashIndexFindsRecordsWithOneHash) {
    HashIndex index;
    EXPECT_FALSE(index.find(7, [](RecordId) { return true; }));
    // 511 entries fit under one hash: a free slot must end every search.
    for (RecordId id = 0; id < 511; ++id) {
        ASSERT_TRUE(index.reserve(allocator_, arena_, 7)) << id;
        index.insert(7, id);
    }
    EXPECT_FALSE(index.reserve(allocator_, arena_, 7));
    for (RecordId id = 0; id < 511; ++id)
        EXPECT_TRUE(index.find(7, [id](RecordId found) { return found == id; })) << id;
    EXPECT_FALSE(index.find(7, [](RecordId found) { return found == 511; }));
    for (RecordId id = 0; id < 511; id += 2)
        index.erase(7, id);
    for (RecordId id = 0; id < 511; ++id)
        EXPECT_EQ(index.find(7, [id](RecordId found) { return found == id; }), id % 2 == 1) << id;
    EXPECT_TRUE(index.reserve(allocator_, arena_, 7));
}

TEST_F(StoreParts, HashIndexLosesNothingIfAllocationFails) {
    // Each number of successful allocations in turn, until all records fit.
    for (std::uint32_t successes = 0;; ++successes) {
        Arena arena;
        HashIndex index;
        allocations_left = successes;
        RecordId id = 0;
        const auto hash = [](RecordId of) { return of * 0x9E3779B1U; };
        while (id < 5000 && index.reserve(allocator_, arena, hash(id))) {
            index.insert(hash(id), id);
            ++id;
        }
        for (RecordId i = 0; i < id; ++i)
            ASSERT_TRUE(index.find(hash(i), [&](RecordId found) { return found == i; }));
        if (id == 5000)
            break;
        allocations_left = UINT32_MAX;
        EXPECT_TRUE(index.reserve(allocator_, arena, hash(id)));
    }
}

TEST_F(StoreParts, UnusedSlotsAreNotFound) {
    RecordPool records(10, 1);
    EXPECT_EQ(records.try_words(0), nullptr);
    EXPECT_EQ(records.try_link(0, 1), nullptr);
    ASSERT_TRUE(records.reserve(allocator_, arena_));
    EXPECT_EQ(records.allocate(), 0U);
    EXPECT_EQ(records.try_words(0), records.words(0));
    EXPECT_EQ(records.try_link(0, 1), &records.link(0, 1));
    EXPECT_EQ(records.try_words(63), records.words(63));
    EXPECT_EQ(records.try_words(64), nullptr);
    EXPECT_EQ(records.try_words(no_record), nullptr);
    EXPECT_EQ(records.try_link(64, 1), nullptr);
}

TEST_F(StoreParts, RecordPoolEndsAtItsLimit) {
    RecordPool records(8, 0, 128);
    for (RecordId id = 0; id < 128; ++id) {
        ASSERT_TRUE(records.reserve(allocator_, arena_));
        EXPECT_EQ(records.allocate(), id);
    }
    EXPECT_FALSE(records.reserve(allocator_, arena_));
    records.free(3);
    ASSERT_TRUE(records.reserve(allocator_, arena_));
    EXPECT_EQ(records.allocate(), 3U);
}

TEST_F(StoreParts, CursorTableEndsAtItsLimit) {
    CursorTable cursors(5);
    std::vector<const L2vpnDbIter *> handles;
    while (const Cursor *const cursor = cursors.allocate(allocator_, arena_))
        handles.push_back(cursors.handle(*cursor));
    // 16 chunks: 16 cursors, then twice as many each time.
    ASSERT_EQ(handles.size(), 16U * ((1U << 16) - 1));
    EXPECT_EQ(std::set(handles.begin(), handles.end()).size(), handles.size());
    Cursor *const last = cursors.find(handles.back());
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->slot, handles.size() - 1);
    cursors.free(*last);
    EXPECT_EQ(cursors.find(handles.back()), nullptr);
    EXPECT_EQ(cursors.allocate(allocator_, arena_), last);
    EXPECT_EQ(cursors.allocate(allocator_, arena_), nullptr);
}

TEST_F(StoreParts, CursorTableRecoversFromAFailedAllocation) {
    CursorTable cursors(5);
    allocations_left = 0;
    EXPECT_EQ(cursors.allocate(allocator_, arena_), nullptr);
    allocations_left = 1;
    EXPECT_NE(cursors.allocate(allocator_, arena_), nullptr);
}

TEST(SeqlockCopy, LoadsBytes) {
    const char bytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(load_bytes(bytes, 0), 0U);
    Word expected = 0;
    for (std::size_t count = 1; count <= 8; ++count) {
        expected |= Word{count} << 8 * (count - 1);
        EXPECT_EQ(load_bytes(bytes, count), expected) << count;
    }
}

std::uint32_t counted_events;

void count_event(std::uint32_t event, std::uint32_t amount) {
    EXPECT_EQ(event, 3U);
    __atomic_fetch_add(&counted_events, amount, __ATOMIC_RELAXED);
}

/// 4,096 threads have numbers; the others count in batches only.
TEST(StoreEvents, OfMoreThreadsThanNumbers) {
    constexpr std::size_t numbered = 4096;
    struct Threads {
        pthread_barrier_t ready, done;
        Events own[numbered];
    };
    const auto threads = std::make_unique<Threads>();
    pthread_barrier_init(&threads->ready, nullptr, numbered + 1);
    pthread_barrier_init(&threads->done, nullptr, numbered + 1);
    pthread_attr_t small;
    pthread_attr_init(&small);
    pthread_attr_setstacksize(&small, std::size_t{64} << 10);
    counted_events = 0;
    std::vector<pthread_t> handles(numbered);
    for (pthread_t &handle : handles)
        ASSERT_EQ(pthread_create(
                      &handle, &small,
                      [](void *given_threads) -> void * {
                          auto &all = *static_cast<Threads *>(given_threads);
                          Events events;
                          events.count(count_event, 3); // assigns a number to this thread
                          pthread_barrier_wait(&all.ready);
                          pthread_barrier_wait(&all.done);
                          return nullptr;
                      },
                      threads.get()),
                  0);
    pthread_barrier_wait(&threads->ready);
    EXPECT_EQ(counted_events, numbered);
    // This thread comes last, and no number is left.
    Events events;
    for (std::uint32_t i = 1; i < L2VPN_STORE_EVENT_LOT; ++i)
        events.count(count_event, 3);
    EXPECT_EQ(counted_events, numbered);
    events.count(count_event, 3);
    EXPECT_EQ(counted_events, numbered + L2VPN_STORE_EVENT_LOT);
    pthread_barrier_wait(&threads->done);
    for (const pthread_t handle : handles)
        pthread_join(handle, nullptr);
    // Numbers are free again for new threads.
    pthread_t late = 0;
    ASSERT_EQ(pthread_create(
                  &late, nullptr,
                  [](void *) -> void * {
                      Events own;
                      own.count(count_event, 3);
                      EXPECT_EQ(counted_events, numbered + L2VPN_STORE_EVENT_LOT + 1);
                      return nullptr;
                  },
                  nullptr),
              0);
    pthread_join(late, nullptr);
    pthread_attr_destroy(&small);
    pthread_barrier_destroy(&threads->ready);
    pthread_barrier_destroy(&threads->done);
}

} // namespace
} // namespace l2vpn::platform
