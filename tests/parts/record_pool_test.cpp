// SPDX-License-Identifier: MIT
// The memory of a record pool: slots, chunks and the chunk directory.
#include <gtest/gtest.h>

#include <numeric>

#include "platform/store/record_pool.h"
#include "tests/parts/checked_memory.h"

namespace l2vpn::platform {
namespace {

class RecordPoolMemory : public testing::Test {
protected:
    /// Allocates a slot for a record of `length` bytes that begins with its number.
    RecordId allocate(RecordPool &records, std::size_t length, std::uint32_t number) {
        std::vector<char> record(length, static_cast<char>(number));
        std::memcpy(record.data(), &number, std::min(length, sizeof number));
        EXPECT_TRUE(records.reserve(memory_.allocator(), arena_));
        return records.allocate(record.data());
    }

    test::CheckedMemory memory_;
    Arena arena_;
};

// Every byte of a slot, of all keys' links and of the numbers belongs to one slot only.
TEST_F(RecordPoolMemory, SlotsAreDisjoint) {
    for (const std::size_t length : {5U, 8U, 61U, 6000U})
        for (const std::size_t keys : {0U, 1U, 5U}) {
            RecordPool records(length, keys);
            constexpr RecordId count = 400;
            for (RecordId id = 0; id < count; ++id) {
                ASSERT_EQ(allocate(records, length, id), id);
                for (std::size_t key = 1; key <= keys; ++key) {
                    const auto mark = static_cast<RecordId>(id * 10 + key);
                    records.link(id, key) = {mark, ~mark};
                }
            }
            for (RecordId id = 0; id < count; ++id) {
                std::vector<char> expected(length, static_cast<char>(id));
                std::memcpy(expected.data(), &id, sizeof id);
                ASSERT_EQ(std::memcmp(records.words(id), expected.data(), length), 0) << id;
                ASSERT_EQ(records.insert_sequence(id), id + 1);
                for (std::size_t key = 1; key <= keys; ++key) {
                    const auto mark = static_cast<RecordId>(id * 10 + key);
                    ASSERT_EQ(records.link(id, key).next, mark) << id;
                    ASSERT_EQ(records.link(id, key).previous, ~mark) << id;
                }
            }
            EXPECT_EQ(records.last_sequence(), count);
            EXPECT_EQ(records.end(), count);
        }
}

TEST_F(RecordPoolMemory, FewRecordsTakeLittle) {
    RecordPool records(40, 2); // 5 words, 2 links, a number
    EXPECT_FALSE(records.exists(0));
    allocate(records, 40, 0);
    EXPECT_LE(memory_.bytes(), 64 * 64 + 4096 + 256U) << "64 slots, and a page for the rest";
    EXPECT_TRUE(records.exists(63));
    EXPECT_FALSE(records.exists(64));
    for (std::uint32_t i = 1; i < 65; ++i)
        allocate(records, 40, i);
    EXPECT_TRUE(records.exists(127));
    EXPECT_FALSE(records.exists(128));
}

// Chunks of 64 KiB at most.
TEST_F(RecordPoolMemory, ChunksGrowUpToALimit) {
    RecordPool records(40, 2);
    RecordId slots = 0;
    std::vector<RecordId> ends;
    for (std::uint32_t i = 0; i < 50'000; ++i) {
        allocate(records, 40, i);
        while (records.exists(slots))
            ++slots;
        if (ends.empty() || ends.back() != slots)
            ends.push_back(slots);
    }
    std::vector<RecordId> expected{64, 128, 256, 512};
    for (RecordId end = 1024; end < 50'000 + 1024; end += 1024)
        expected.push_back(end);
    EXPECT_EQ(ends, expected);
    // The first chunk is replaced four times.
    EXPECT_LE(memory_.bytes(), std::size_t{50'176 + 1024} * 64 + 65536);
}

TEST_F(RecordPoolMemory, LargeRecordsHaveChunksOf64) {
    RecordPool records(8000, 0);
    for (std::uint32_t i = 0; i < 65; ++i)
        allocate(records, 8000, i);
    EXPECT_TRUE(records.exists(127));
    EXPECT_FALSE(records.exists(128));
}

TEST_F(RecordPoolMemory, AFailedReservationLosesNothing) {
    for (std::size_t successes = 0;; ++successes) {
        RecordPool records(1000, 1);
        Arena arena;
        memory_.fail_after(successes);
        const std::vector<char> record(1000, 'x');
        RecordId count = 0;
        for (; count < 3000 && records.reserve(memory_.allocator(), arena); ++count)
            ASSERT_EQ(records.allocate(record.data()), count);
        for (RecordId id = 0; id < count; ++id) {
            ASSERT_TRUE(records.exists(id));
            ASSERT_EQ(std::memcmp(records.words(id), record.data(), record.size()), 0) << id;
            ASSERT_EQ(records.insert_sequence(id), id + 1);
        }
        EXPECT_EQ(records.end(), count);
        memory_.stop_failing();
        if (count == 3000)
            break;
        EXPECT_TRUE(records.reserve(memory_.allocator(), arena));
        EXPECT_EQ(records.allocate(record.data()), count);
    }
}

TEST_F(RecordPoolMemory, FreeSlotsAreReusedLastFirst) {
    RecordPool records(16, 0);
    for (std::uint32_t i = 0; i < 70; ++i)
        allocate(records, 16, i);
    records.free(3);
    records.free(66);
    memory_.fail_after(0);
    EXPECT_EQ(allocate(records, 16, 100), 66U);
    EXPECT_EQ(records.insert_sequence(66), 71U);
    EXPECT_EQ(allocate(records, 16, 101), 3U);
    EXPECT_EQ(records.insert_sequence(3), 72U);
    EXPECT_EQ(records.last_sequence(), 72U);
    EXPECT_EQ(allocate(records, 16, 102), 70U);
    std::vector<RecordId> used;
    std::uint32_t looks = 10;
    for (RecordId at = 0; records.find_in_use(at, 71, looks); ++at)
        used.push_back(at);
    std::vector<RecordId> all(71);
    std::iota(all.begin(), all.end(), RecordId{0});
    EXPECT_EQ(used, all);
}

} // namespace
} // namespace l2vpn::platform
