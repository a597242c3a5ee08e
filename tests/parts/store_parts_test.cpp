// SPDX-License-Identifier: MIT
// The store's classes in isolation, in states that a whole store reaches rarely.
#include <gtest/gtest.h>

#include <barrier>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/store/cursor_table.h"
#include "platform/store/events.h"
#include "platform/store/hash_index.h"

namespace {

std::size_t mappings = 0;
std::size_t max_mapping = SIZE_MAX;
std::uintptr_t last_mapping = 0;
std::size_t total_allocated = 0;
std::uint32_t allocations_left = UINT32_MAX;
std::vector<std::unique_ptr<char[]>> blocks; // an arena frees nothing

void *allocate(std::size_t size) {
    if (allocations_left == 0)
        return nullptr;
    --allocations_left;
    total_allocated += size;
    blocks.push_back(std::make_unique<char[]>(size));
    return blocks.back().get();
}

void release(void *) {}

} // namespace

/// Replaces the C library's function: counts mappings, and rejects large ones.
extern "C" void *mmap(void *address, std::size_t size, int protection, int flags, int file,
                      off_t offset) noexcept {
    if (size > max_mapping) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    ++mappings;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<void *>(
        syscall(SYS_mmap, address, size, protection, flags, file, offset));
}

extern "C" int madvise(void *address, std::size_t, int) noexcept {
    last_mapping = reinterpret_cast<std::uintptr_t>(address);
    return 0;
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
    StoreParts() {
        allocations_left = UINT32_MAX;
        total_allocated = 0;
    }
    ~StoreParts() override {
        blocks.clear();
        max_mapping = SIZE_MAX;
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

TEST_F(StoreParts, ArenaAllocatesCacheLines) {
    char *last = nullptr;
    for (const std::size_t size : {1U, 64U, 65U, 5000U, 3U, 100'000U, 2U}) {
        auto *const piece = static_cast<char *>(arena_.allocate(allocator_, size));
        ASSERT_NE(piece, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 64, 0U);
        std::memset(piece, 0xA5, (size + 63) / 64 * 64);
        EXPECT_NE(piece, last);
        last = piece;
    }
    allocations_left = 0;
    EXPECT_NE(arena_.allocate(allocator_, 64), nullptr) << "the large piece has a block of its own";
    EXPECT_EQ(arena_.allocate(allocator_, 100'000), nullptr);
    EXPECT_NE(arena_.allocate(allocator_, 64), nullptr);
}

/// Allocates `total` bytes in pieces of 1 MiB.
void fill(Arena &arena, const Allocator &allocator, std::size_t total) {
    constexpr std::size_t piece = std::size_t{1} << 20;
    for (std::size_t taken = 0; taken < total; taken += piece)
        ASSERT_NE(arena.allocate(allocator, piece), nullptr);
}

TEST_F(StoreParts, LargeArenaMapsHugePages) {
    const Allocator own(nullptr);
    mappings = 0;
    fill(arena_, own, std::size_t{64} << 20);
    EXPECT_GT(mappings, 0U);
    EXPECT_LT(mappings, 40U) << "mappings grow with the arena";
    EXPECT_NE(last_mapping, 0U) << "huge pages are advised";
    EXPECT_EQ(last_mapping % (std::size_t{2} << 20), 0U);
    // A failed mapping is repeated with a smaller size.
    max_mapping = std::size_t{4} << 20;
    fill(arena_, own, std::size_t{64} << 20);
    EXPECT_EQ(arena_.allocate(own, std::size_t{5} << 20), nullptr);
    // Without room for the alignment, too.
    max_mapping = (std::size_t{2} << 20) + 4096;
    fill(arena_, own, std::size_t{8} << 20);
}

TEST_F(StoreParts, LargeArenaUsesARegisteredService) {
    mappings = 0;
    fill(arena_, allocator_, std::size_t{12} << 20);
    EXPECT_EQ(mappings, 0U);
    allocations_left = 0;
    EXPECT_EQ(arena_.allocate(allocator_, std::size_t{2} << 20), nullptr);
}

TEST_F(StoreParts, ChunkedArrayKeepsItsElementsInPlace) {
    ChunkedArray<Word> array;
    std::vector<Word *> places;
    for (std::uint32_t i = 0; i < 5000; ++i) {
        ASSERT_TRUE(array.reserve(allocator_, arena_, i));
        EXPECT_EQ(array[i], 0U);
        array[i] = i;
        places.push_back(&array[i]);
    }
    for (std::uint32_t i = 0; i < 5000; ++i) {
        EXPECT_EQ(&array[i], places[i]);
        EXPECT_EQ(*places[i], i);
    }
}

// ---- The hash index -----------------------------------------------------------------------------

class StoreHashIndex : public StoreParts {
protected:
    void insert(Hash hash, RecordId id) {
        ASSERT_TRUE(index_.reserve(allocator_, arena_, lock_, hash)) << id;
        index_.insert(hash, id);
    }
    [[nodiscard]] bool contains(Hash hash, RecordId id) const { return contains(index_, hash, id); }

    [[nodiscard]] static bool contains(const HashIndex &index, Hash hash, RecordId id) {
        return index.find(hash, [id](RecordId found) { return found == id; });
    }
    [[nodiscard]] bool is_empty(Hash hash) const {
        return !index_.find(hash, [](RecordId id) { return id != no_record; });
    }

    HashIndex index_;
    SeqLock lock_;
};

std::size_t allocated_bytes() {
    return total_allocated;
}

TEST_F(StoreHashIndex, IsEmptyAtFirst) {
    EXPECT_TRUE(is_empty(7));
    EXPECT_TRUE(index_.reserve(allocator_, arena_, lock_, 7));
    EXPECT_TRUE(is_empty(7));
    // A free entry has the hash 0.
    EXPECT_TRUE(is_empty(0));
}

TEST_F(StoreHashIndex, HoldsAnyNumberOfRecordsWithOneHash) {
    constexpr RecordId records = 10'000;
    for (RecordId id = 0; id < records; ++id)
        insert(7, id);
    EXPECT_LT(allocated_bytes(), records * 48) << "memory depends on the number of records only";
    for (RecordId id = 0; id < records; ++id)
        ASSERT_TRUE(contains(7, id)) << id;
    EXPECT_FALSE(contains(7, records));
    for (RecordId id = 0; id < records; id += 2)
        index_.erase(7, id);
    for (RecordId id = 0; id < records; ++id)
        ASSERT_EQ(contains(7, id), id % 2 == 1) << id;
    const std::size_t before = allocated_bytes();
    for (RecordId id = 0; id < records; id += 2)
        insert(7, id);
    EXPECT_EQ(allocated_bytes(), before) << "overflow pages are reused";
    for (RecordId id = 0; id < records; ++id) {
        ASSERT_TRUE(contains(7, id)) << id;
        index_.erase(7, id);
        ASSERT_FALSE(contains(7, id)) << id;
    }
    EXPECT_TRUE(is_empty(7));
}

// Hashes that differ in few bits share pages, home lines or both.
TEST_F(StoreHashIndex, AgreesWithAModel) {
    for (const Hash mask : {~Hash{0}, Hash{0xFF}, Hash{0xFC000000}, Hash{0xFC00000F}, Hash{0x7}}) {
        HashIndex index;
        std::map<RecordId, Hash> model;
        auto random = [engine = std::mt19937(mask)]() mutable {
            return static_cast<std::uint32_t>(engine());
        };
        for (std::uint32_t step = 0; step < 40'000; ++step) {
            const RecordId id = random() % 6000;
            const auto found = model.find(id);
            const bool shrinking = step / 8000 % 2 == 1;
            if (found == model.end() && (!shrinking || random() % 8 == 0)) {
                const Hash hash = random() & mask;
                ASSERT_TRUE(index.reserve(allocator_, arena_, lock_, hash));
                index.insert(hash, id);
                model[id] = hash;
            } else if (found != model.end() && (shrinking || random() % 4 == 0)) {
                index.erase(found->second, id);
                model.erase(found);
            } else if (found != model.end()) {
                const RecordId by = 10'000 + id;
                index.replace(found->second, id, by);
                EXPECT_FALSE(contains(index, found->second, id));
                index.replace(found->second, by, id);
            }
        }
        for (const auto &[id, hash] : model)
            ASSERT_TRUE(contains(index, hash, id));
        for (RecordId id = 0; id < 6000; ++id) {
            if (model.count(id) == 0) {
                for (const Hash hash : {Hash{0}, mask}) {
                    ASSERT_FALSE(contains(index, hash, id));
                }
            }
        }
    }
}

TEST_F(StoreHashIndex, LosesNothingIfAllocationFails) {
    // Each number of successful allocations in turn, until all records fit.
    const auto spread = [](RecordId of) { return of * 0x9E3779B1U; };
    const auto equal = [](RecordId) { return Hash{5}; };
    for (Hash (*const hash)(RecordId) : {+spread, +equal}) {
        for (std::uint32_t successes = 0;; ++successes) {
            Arena arena;
            HashIndex index;
            allocations_left = successes;
            RecordId id = 0;
            while (id < 3000 && index.reserve(allocator_, arena, lock_, hash(id))) {
                index.insert(hash(id), id);
                ++id;
            }
            for (RecordId i = 0; i < id; ++i)
                ASSERT_TRUE(contains(index, hash(i), i));
            if (id == 3000)
                break;
            allocations_left = UINT32_MAX;
            EXPECT_TRUE(index.reserve(allocator_, arena, lock_, hash(id)));
        }
    }
}

// ---- The record pool and the cursors ------------------------------------------------------------

TEST_F(StoreParts, UnusedSlotsAreNotFound) {
    RecordPool records(10, 1);
    const char record[10] = "contents";
    EXPECT_FALSE(records.exists(0));
    ASSERT_TRUE(records.reserve(allocator_, arena_));
    EXPECT_EQ(records.allocate(record), 0U);
    EXPECT_EQ(std::memcmp(records.words(0), record, sizeof record), 0);
    EXPECT_TRUE(records.exists(63));
    EXPECT_FALSE(records.exists(64));
    EXPECT_FALSE(records.exists(no_record));
}

TEST_F(StoreParts, RecordPoolKeepsRecordsWhileItGrows) {
    // Of many slots per chunk, of few, and of records larger than a chunk should be.
    for (const std::size_t length : {8U, 300U, 9000U}) {
        RecordPool records(length, 2);
        std::vector<char> record(length);
        const RecordId count = length == 8 ? 100'000 : 2000;
        for (RecordId id = 0; id < count; ++id) {
            std::memcpy(record.data(), &id, sizeof id);
            ASSERT_TRUE(records.reserve(allocator_, arena_));
            ASSERT_EQ(records.allocate(record.data()), id);
            records.link(id, 2).next = id;
        }
        for (RecordId id = 0; id < count; ++id) {
            ASSERT_EQ(static_cast<RecordId>(*records.words(id)), id);
            ASSERT_EQ(records.link(id, 2).next, id);
            ASSERT_EQ(records.insert_sequence(id), id + 1);
        }
    }
}

TEST_F(StoreParts, RecordPoolFindsSlotsInUse) {
    RecordPool records(8, 0);
    const char record[8] = {};
    constexpr RecordId count = 200'000;
    for (RecordId id = 0; id < count; ++id) {
        ASSERT_TRUE(records.reserve(allocator_, arena_));
        ASSERT_EQ(records.allocate(record), id);
    }
    const std::set<RecordId> kept{0, 1, 63, 64, 130, 70'000, count - 1};
    for (RecordId id = 0; id < count; ++id)
        if (!kept.contains(id))
            records.free(id);
    for (const RecordId end : {RecordId{0}, RecordId{64}, RecordId{131}, RecordId{70'000}, count}) {
        std::set<RecordId> found;
        std::uint32_t looks = UINT32_MAX;
        for (RecordId at = 0; records.find_in_use(at, end, looks);)
            found.insert(at++);
        EXPECT_EQ(found, std::set(kept.begin(), kept.lower_bound(end)));
        EXPECT_LE(UINT32_MAX - looks, end / 64 + found.size() + 1) << "64 slots at a time";
    }
    RecordId at = 131;
    std::uint32_t looks = 100;
    EXPECT_FALSE(records.find_in_use(at, count, looks)) << "it pauses";
    EXPECT_EQ(looks, 0U);
    EXPECT_EQ(at, (131 / 64 + 100) * 64);
}

TEST_F(StoreParts, RecordPoolEndsAtItsLimit) {
    RecordPool records(8, 0, 128);
    const char record[8] = {};
    for (RecordId id = 0; id < 128; ++id) {
        ASSERT_TRUE(records.reserve(allocator_, arena_));
        EXPECT_EQ(records.allocate(record), id);
    }
    EXPECT_FALSE(records.reserve(allocator_, arena_));
    records.free(3);
    ASSERT_TRUE(records.reserve(allocator_, arena_));
    EXPECT_EQ(records.allocate(record), 3U);
}

TEST_F(StoreParts, CursorTableEndsAtItsLimit) {
    CursorTable cursors(5);
    std::vector<const L2vpnDbIter *> handles;
    while (const Cursor *const cursor = cursors.allocate(allocator_, arena_))
        handles.push_back(cursors.handle(*cursor));
    ASSERT_EQ(handles.size(), 1U << 20);
    EXPECT_EQ(std::set(handles.begin(), handles.end()).size(), handles.size());
    Cursor *const last = cursors.find(handles.back());
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->slot, handles.size() - 1);
    cursors.free(*last);
    EXPECT_EQ(cursors.find(handles.back()), nullptr);
    EXPECT_EQ(cursors.allocate(allocator_, arena_), last);
    EXPECT_EQ(cursors.allocate(allocator_, arena_), nullptr);
}

TEST_F(StoreParts, CursorTableRetiresSlotsWithoutGenerations) {
    CursorTable cursors(5);
    Cursor *const cursor = cursors.allocate(allocator_, arena_);
    ASSERT_NE(cursor, nullptr);
    const L2vpnDbIter *const first = cursors.handle(*cursor);
    cursor->generation = CursorTable::max_generation;
    const L2vpnDbIter *const last = cursors.handle(*cursor);
    EXPECT_EQ(cursors.find(last), cursor);
    cursors.free(*cursor);
    EXPECT_EQ(cursors.find(last), nullptr);
    EXPECT_EQ(cursors.find(first), nullptr);
    const Cursor *const other = cursors.allocate(allocator_, arena_);
    EXPECT_NE(other, cursor);
    EXPECT_EQ(cursors.find(first), nullptr);
}

TEST_F(StoreParts, CursorTableRecoversFromAFailedAllocation) {
    CursorTable cursors(5);
    allocations_left = 0;
    EXPECT_EQ(cursors.allocate(allocator_, arena_), nullptr);
    allocations_left = 10;
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
                          events.count(count_event, 3, 1); // assigns a number to this thread
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
        events.count(count_event, 3, 1);
    EXPECT_EQ(counted_events, numbered);
    events.count(count_event, 3, 1);
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
                      own.count(count_event, 3, 1);
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
