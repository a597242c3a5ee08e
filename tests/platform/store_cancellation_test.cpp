// SPDX-License-Identifier: MIT
// Threads that are cancelled inside store calls, by the functions that the store calls. No lock
// stays held, and the table stays as it was.
#include <atomic>
#include <functional>

#include <pthread.h>
#include <unistd.h>

#include "tests/platform/log_service.h"
#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

constexpr std::uint32_t pool_size = 1200;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

/// Cancels its own thread.
void cancel() {
    set_allocation_hook(nullptr);
    set_log_hook(nullptr);
    pthread_cancel(pthread_self());
    pthread_testcancel();
}

std::atomic<std::uint32_t> events_until_cancel = 0;
void cancelling_stat(std::uint32_t, std::uint32_t) {
    if (--events_until_cancel == 0)
        cancel();
}

class StoreCancellation : public StoreTest {
protected:
    void SetUp() override {
        alarm(100); // a lock that is never released would block the test
        register_log_service();
        for (std::uint32_t i = 0; i < kept; ++i)
            ASSERT_EQ(raw_write(pool_.make(i, 0)), 0U);
    }
    void TearDown() override {
        set_allocation_hook(nullptr);
        set_log_hook(nullptr);
        StoreTest::TearDown();
        unregister_log_service();
        take_log();
        alarm(0);
    }

    /// Returns whether the thread was cancelled.
    static bool is_cancelled_in(const std::function<void()> &call) {
        const pthread_t thread = start_thread(call);
        void *result = nullptr;
        EXPECT_EQ(pthread_join(thread, &result), 0);
        return result == PTHREAD_CANCELED;
    }

    /// Every call works, and the table holds the first records.
    void expect_usable(std::uint32_t records) {
        EXPECT_EQ(raw_count(), records);
        for (std::uint32_t i = 0; i < records; ++i) {
            const Bytes stored = pool_.make(i, 0);
            EXPECT_EQ(raw_read(facts_.keys[0], stored), stored) << i;
            // Other records may share the values of secondary keys.
            for (const Key &key : facts_.keys)
                EXPECT_TRUE(raw_read(key, stored)) << key.name;
        }
        const Bytes added = pool_.make(pool_size - 1, 0);
        EXPECT_EQ(raw_write(added), 0U);
        EXPECT_EQ(raw_update(added, [](L2vpnDbRecObj *) { return 0U; }), 0U);
        EXPECT_EQ(raw_remove(added), 0U);
        L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
        Bytes stored(facts_.stored_size);
        L2vpnDbRecData request = record_request(stored);
        std::uint32_t delivered = 0;
        while (DAL_VELD_GetNextEntry(module_, intf_, iterator, &request) == 0)
            ++delivered;
        EXPECT_EQ(delivered, records);
        EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
    }

    static constexpr std::uint32_t kept = 5;
    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::distinct};
};
L2VPN_TEST_TYPED_TABLES(StoreCancellation, has_pool);

/// Runs in a separate process, in which the table is unused.
class FreshStoreCancellation : public StoreCancellation {
protected:
    void SetUp() override {
        if (is_used(table_))
            GTEST_SKIP() << "the table may have free slots";
        StoreCancellation::SetUp();
    }
};
L2VPN_TEST_TYPED_TABLES(FreshStoreCancellation, has_pool);

/// Runs in a separate process, in which the table does not exist yet.
class FreshStoreCreation : public StoreCancellation {
protected:
    void SetUp() override { alarm(100); }
};
L2VPN_TEST_TYPED_TABLES(FreshStoreCreation, has_pool);

TEST_P(FreshStoreCreation, IsNotCancelled) {
    EXPECT_TRUE(is_cancelled_in([&] {
        pthread_cancel(pthread_self());
        EXPECT_EQ(raw_count(), 0U);
        pthread_testcancel();
    }));
    expect_usable(0);
}

// The call ends first: the thread is cancelled at its next cancellation point.
TEST_P(FreshStoreCancellation, InTheMemoryService) {
    register_memory_service();
    std::uint32_t written = kept;
    for (int turn = 0; turn < 5; ++turn) {
        EXPECT_TRUE(is_cancelled_in([&] {
            set_allocation_hook(cancel);
            while (written < pool_size - 1) {
                EXPECT_EQ(raw_write(pool_.make(written, 0)), 0U);
                ++written;
                pthread_testcancel();
            }
        }));
        set_allocation_hook(nullptr);
        expect_usable(written);
    }
    std::uint32_t opened = 0;
    EXPECT_TRUE(is_cancelled_in([&] {
        set_allocation_hook(cancel);
        for (; opened < 5000; ++opened) {
            EXPECT_NE(DAL_VELD_CreateIterator(module_, intf_), nullptr);
            pthread_testcancel();
        }
    }));
    set_allocation_hook(nullptr);
    expect_usable(written);
}

TEST_P(StoreCancellation, InTheLogService) {
    EXPECT_TRUE(is_cancelled_in([&] {
        set_log_hook(cancel);
        DAL_VELD_Write(module_, intf_, nullptr);
    }));
    expect_usable(kept);
}

TEST_P(StoreCancellation, InTheStatisticsFunction) {
    L2vpnDbTblIntf cancelling = *intf_;
    cancelling.stat = cancelling_stat;
    for (const std::uint32_t events : {1U, 2U, 3U}) {
        EXPECT_TRUE(is_cancelled_in([&] {
            events_until_cancel = events;
            std::uint32_t count = 0;
            for (std::uint32_t i = 0; i < 10 * L2VPN_STORE_EVENT_LOT; ++i)
                EXPECT_EQ(DAL_VELD_Count(module_, &cancelling, &count), 0U);
        }));
        expect_usable(kept);
    }
}

// A thread that never waits is cancelled at any place at which the store calls a function.
TEST_P(StoreCancellation, AtAnyTime) {
    for (std::uint32_t turn = 0; turn < 20; ++turn) {
        std::atomic<std::uint32_t> rounds = 0;
        const std::function<void()> call = [&] {
            for (;; ++rounds) {
                for (std::uint32_t i = kept; i < 20; ++i)
                    EXPECT_EQ(raw_write(pool_.make(i, rounds % TestRecords::versions)), 0U);
                for (std::uint32_t i = kept; i < 20; ++i)
                    EXPECT_EQ(raw_remove(pool_.make(i, 0)), 0U);
                pthread_testcancel();
            }
        };
        const pthread_t thread = start_thread(call);
        while (rounds < turn % 3)
            std::this_thread::yield();
        ASSERT_EQ(pthread_cancel(thread), 0);
        ASSERT_EQ(pthread_join(thread, nullptr), 0);
        expect_usable(kept);
    }
}

} // namespace
} // namespace l2vpn::test
