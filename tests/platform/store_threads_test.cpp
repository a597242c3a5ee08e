// SPDX-License-Identifier: MIT
// Many threads on one table: no record is torn, lost or delivered twice.
#include <atomic>
#include <set>
#include <thread>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class StoreThreads : public StoreTest {
protected:
    static constexpr std::uint32_t thread_count = 4;
    static constexpr std::uint32_t rounds = 100;

    template <class Body>
    static void in_threads(Body body) {
        std::vector<std::jthread> threads;
        for (std::uint32_t i = 0; i < thread_count; ++i) {
            threads.emplace_back([=] { body(i); });
        }
    }

    // The calls of the fixture look at the counters, which other threads move.
    std::uint32_t write_quietly(const Bytes &caller) const { return table_.write(caller.data()); }
};
L2VPN_TEST_TYPED_TABLES(StoreThreads, any_table);

TEST_P(StoreThreads, ReadersSeeWholeRecordsOnly) {
    const Bytes key = record(1);
    std::set<Bytes> versions;
    for (std::uint32_t i = 1; i <= 4; ++i) {
        versions.insert(packed(with_primary_key_of(key, record(i))));
    }
    ASSERT_EQ(write(key), 0U);
    in_threads([&](std::uint32_t thread) {
        const KeyRequest selected(facts_.keys[0], key);
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData request = record_request(buffer);
        for (std::uint32_t i = 0; i < rounds; ++i) {
            EXPECT_EQ(write_quietly(with_primary_key_of(key, record((thread + i) % 4 + 1))), 0U);
            EXPECT_EQ(DAL_VELD_Read(module_, intf_, &selected.request, &request), 0U);
            EXPECT_TRUE(versions.contains(buffer));
        }
    });
    EXPECT_EQ(count(), 1U);
}

TEST_P(StoreThreads, WritesOfDifferentRecordsAllArrive) {
    const Counters before = counters();
    in_threads([&](std::uint32_t thread) {
        for (std::uint32_t i = 0; i < rounds; ++i) {
            Bytes caller = record(1);
            const Field &member = facts_.keys[0].members[0];
            const std::uint32_t value = thread << 16 | i;
            ASSERT_EQ(member.width, sizeof value);
            std::memcpy(caller.data() + member.offset, &value, sizeof value);
            EXPECT_EQ(write_quietly(caller), 0U);
        }
    });
    EXPECT_EQ(count(), thread_count * rounds);
    EXPECT_EQ(counters()[L2VPN_STORE_STAT_INSERTED] - before[L2VPN_STORE_STAT_INSERTED],
              thread_count * rounds);
}

TEST_P(StoreThreads, OneIteratorSharesItsRecordsOut) {
    std::mt19937 random(5);
    while (count() < 50) {
        ASSERT_EQ(write(record(static_cast<std::uint32_t>(random()))), 0U);
    }
    L2vpnDbIter *const iterator = open();
    std::atomic<std::uint32_t> delivered{0};
    in_threads([&](std::uint32_t) {
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData request = record_request(buffer);
        while (DAL_VELD_GetNextEntry(module_, intf_, iterator, &request) == 0) {
            ++delivered;
        }
    });
    EXPECT_EQ(delivered, 50U);
    EXPECT_EQ(release(iterator), 0U);
}

TEST_P(StoreThreads, IteratorsLiveThroughWritesAndDeletes) {
    const Bytes stays = record(1);
    ASSERT_EQ(write(stays), 0U);
    const Bytes expected = packed(stays);
    in_threads([&](std::uint32_t thread) {
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData request = record_request(buffer);
        for (std::uint32_t i = 0; i < rounds; ++i) {
            const Bytes comes = record(2 + thread * rounds + i);
            EXPECT_EQ(write_quietly(comes), 0U);
            L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
            ASSERT_NE(iterator, nullptr);
            std::uint32_t seen = 0;
            while (DAL_VELD_GetNextEntry(module_, intf_, iterator, &request) == 0) {
                seen += buffer == expected;
            }
            EXPECT_EQ(seen, 1U);
            EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
            EXPECT_EQ(table_.remove(comes.data()), 0U);
        }
    });
    EXPECT_EQ(count(), 1U);
}

} // namespace
} // namespace l2vpn::test
