// SPDX-License-Identifier: MIT
// Reads that write sections overlap.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/store/seqlock.h"
#include "tests/parts/scripted_clock.h"

namespace l2vpn::platform {
namespace {

using Clock = std::chrono::steady_clock;

TEST(SeqLock, ReadsOnceIfNothingIsWritten) {
    SeqLock lock;
    int calls = 0;
    EXPECT_EQ(lock.read([&] { return ++calls; }), 1);
    { const SeqLock::WriteSection section(lock); }
    EXPECT_EQ(lock.read([&] { return ++calls; }), 2);
    EXPECT_FALSE(inside_store);
}

TEST(SeqLock, DiscardsAReadThatAWriteSectionOverlaps) {
    SeqLock lock;
    int calls = 0;
    const auto read = [&] {
        if (calls == 0)
            const SeqLock::WriteSection section(lock);
        EXPECT_FALSE(inside_store) << "the next attempt takes no lock";
        return ++calls;
    };
    EXPECT_EQ(lock.read(read), 2);
}

// The reader sees that the section has begun before it calls its function.
TEST(SeqLock, CallsNoReadInsideAWriteSection) {
    SeqLock lock;
    std::atomic<int> value = 1;
    std::atomic<int> calls = 0;
    std::jthread reader;
    {
        const SeqLock::WriteLock write_lock(lock);
        const SeqLock::WriteSection section(lock);
        value = 2; // not consistent yet
        reader = std::jthread([&] {
            EXPECT_EQ(lock.read([&] {
                ++calls;
                return value.load();
            }),
                      3);
        });
        // Longer than the reader spins.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(calls, 0);
        value = 3;
    }
    reader.join();
    EXPECT_EQ(calls, 1);
}

TEST(SeqLock, ReadsUnderTheLockAfterSomeMicroseconds) {
    SeqLock lock;
    Clock::duration shortest = Clock::duration::max();
    for (int round = 0; round < 20; ++round) {
        int calls = 0;
        const Clock::time_point start = Clock::now();
        const bool inside = lock.read([&] {
            ++calls;
            const SeqLock::WriteSection section(lock); // overlaps every attempt
            return inside_store;
        });
        const Clock::duration taken = Clock::now() - start;
        EXPECT_TRUE(inside);
        EXPECT_FALSE(inside_store);
        EXPECT_GT(calls, 16);
        EXPECT_GE(taken, std::chrono::microseconds(20));
        shortest = std::min(shortest, taken);
    }
    EXPECT_LT(shortest, std::chrono::milliseconds(2));
}

// The 20 microseconds may include the end of a second.
TEST(SeqLock, SpinsUntilTheTimeIsOver) {
    for (const auto &[waited, inside] : {std::pair{19'999, false}, {20'000, true}}) {
        SeqLock lock;
        int calls = 0;
        test::clock_readings = {{5, 999'990'000}, {6, waited - 10'000}, {7, 0}};
        EXPECT_EQ(lock.read([&] {
            // Overlaps the first attempt, and 16 before and after the second reading.
            if (++calls <= 32)
                const SeqLock::WriteSection section(lock);
            return inside_store;
        }),
                  inside);
        EXPECT_EQ(calls, inside ? 18 : 33);
        test::clock_readings.clear();
    }
}

TEST(SeqLock, WriteLocksExcludeEachOther) {
    SeqLock lock;
    std::atomic<bool> held = true;
    std::jthread other;
    {
        const SeqLock::WriteLock write_lock(lock);
        EXPECT_TRUE(inside_store);
        other = std::jthread([&] {
            const SeqLock::WriteLock second(lock);
            EXPECT_FALSE(held);
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        held = false;
    }
    EXPECT_FALSE(inside_store);
}

} // namespace
} // namespace l2vpn::platform
