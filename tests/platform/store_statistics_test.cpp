// SPDX-License-Identifier: MIT
// The time at which events of several threads reach the table's counters: the owner of a table
// reports immediately, other threads in batches.
#include <atomic>
#include <memory>
#include <thread>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class StoreStatistics : public StoreTest {
protected:
    // The first user becomes the table's owner.
    void SetUp() override { EXPECT_EQ(count(), 0U); }

    static void use(const TypedTable &table, std::uint32_t calls) {
        std::uint32_t count = 0;
        for (std::uint32_t i = 0; i < calls; ++i)
            EXPECT_EQ(DAL_VELD_Count(module(), table.descriptor, &count), 0U);
    }

    static std::uint32_t counted(const TypedTable &table) {
        return table.get_stat(L2VPN_STORE_STAT_COUNTED);
    }

    const TypedTable &other_ = typed_tables[&table_ == &typed_tables[0] ? 1 : 0];
};
L2VPN_TEST_TYPED_TABLES(StoreStatistics, any_table);

/// Runs in a separate process, in which the table is unused.
class FreshStoreStatistics : public StoreStatistics {};
L2VPN_TEST_TYPED_TABLES(FreshStoreStatistics, any_table);

TEST_P(StoreStatistics, OtherThreadsReportInBatches) {
    const std::uint32_t before = counted(table_);
    std::jthread([&] {
        use(table_, L2VPN_STORE_EVENT_LOT - 1);
        EXPECT_EQ(counted(table_), before);
        use(table_, 1);
        EXPECT_EQ(counted(table_), before + L2VPN_STORE_EVENT_LOT);
    }).join();
    EXPECT_EQ(counted(table_), before + L2VPN_STORE_EVENT_LOT);
}

TEST_P(StoreStatistics, OwnershipStaysWithALivingThread) {
    std::jthread([&] {
        use(table_, 3 * L2VPN_STORE_EVENT_LOT);
        const std::uint32_t before = counted(table_);
        use(table_, 5);
        EXPECT_EQ(counted(table_), before);
    }).join();
    EXPECT_EQ(remove(record(1)), L2VPN_STORE_NOT_FOUND);
    EXPECT_EQ(count(), 0U);
}

TEST_P(StoreStatistics, TheOwnerReportsImmediately) {
    std::uint32_t before = counted(table_);
    std::jthread([&] { use(table_, 5); }).join();
    before += 5;
    for (std::uint32_t i = 0; i < 3000; ++i) {
        use(table_, 1);
        ASSERT_EQ(counted(table_), ++before);
    }
}

TEST_P(StoreStatistics, ThreadExitFlushes) {
    const std::uint32_t before = counted(table_);
    std::jthread([&] {
        use(table_, 5);
        EXPECT_EQ(counted(table_), before);
    }).join();
    EXPECT_EQ(counted(table_), before + 5);
}

TEST_P(StoreStatistics, SwitchToAnOwnedTableFlushes) {
    use(other_, 1);
    const std::uint32_t before = counted(table_);
    std::jthread([&] {
        use(table_, 5);
        EXPECT_EQ(counted(table_), before);
        use(other_, 1);
        EXPECT_EQ(counted(table_), before + 5);
    }).join();
}

TEST_P(FreshStoreStatistics, SwitchToAnUnownedTableFlushes) {
    if (is_used(other_)) {
        GTEST_SKIP() << "the other table has been used before";
    }
    const std::uint32_t before = counted(table_);
    std::jthread([&] {
        use(other_, 1);
        use(table_, 5);
        EXPECT_EQ(counted(table_), before);
        use(other_, 1);
        EXPECT_EQ(counted(table_), before + 5);
    }).join();
}

TEST_P(FreshStoreStatistics, OwnershipPassesOnWhenTheOwnerEnds) {
    if (is_used(other_)) {
        GTEST_SKIP() << "the other table has been used before";
    }
    std::jthread([&] { use(other_, 1); }).join();
    const std::uint32_t before = counted(other_);
    std::jthread([&] {
        use(other_, 1);
        EXPECT_EQ(counted(other_), before + 1);
        // Batches of further threads are not reported yet.
        std::jthread([&] {
            use(other_, 1);
            EXPECT_EQ(counted(other_), before + 1);
        }).join();
        EXPECT_EQ(counted(other_), before + 2);
        use(other_, 1);
        EXPECT_EQ(counted(other_), before + 3);
    }).join();
}

// A thread with a batch becomes the owner.
TEST_P(FreshStoreStatistics, ANewOwnerReportsItsBatch) {
    if (is_used(other_)) {
        GTEST_SKIP() << "the other table has been used before";
    }
    std::atomic<int> step = 0;
    const auto wait_for = [&](int wanted) {
        while (step != wanted)
            std::this_thread::yield();
    };
    const std::uint32_t before = counted(other_);
    std::jthread owner([&] {
        use(other_, 1);
        step = 1;
        wait_for(2);
    });
    std::jthread second([&] {
        wait_for(1);
        use(other_, 5);
        EXPECT_EQ(counted(other_), before + 1);
        step = 2;
        owner.join();
        use(other_, 1);
        EXPECT_EQ(counted(other_), before + 7);
    });
}

// A descriptor may be destroyed before its events are reported.
TEST_P(StoreStatistics, DescriptorsNeedNotOutliveTheirCalls) {
    const std::uint32_t before = counted(table_);
    std::jthread([&] {
        auto copy = std::make_unique<L2vpnDbTblIntf>(*intf_);
        std::uint32_t count = 0;
        EXPECT_EQ(DAL_VELD_Count(module(), copy.get(), &count), 0U);
        std::memset(copy.get(), 0, sizeof *copy);
        copy.reset();
    }).join();
    EXPECT_EQ(counted(table_), before + 1);
}

} // namespace
} // namespace l2vpn::test
