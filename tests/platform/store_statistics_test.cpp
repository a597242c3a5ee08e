// SPDX-License-Identifier: MIT
// The time at which events of several threads reach the table's counters: the owner of a table
// reports immediately, other threads in batches.
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <thread>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace {
constinit thread_local bool set_specific_fails = false;
}

/// Replaces the C library's function in the whole process. Not instrumented: ThreadSanitizer calls
/// it while it starts a thread.
extern "C" [[gnu::no_sanitize("thread")]] int pthread_setspecific(pthread_key_t key,
                                                                  const void *value) noexcept {
    static constinit decltype(&pthread_setspecific) original = nullptr;
    if (original == nullptr)
        original = reinterpret_cast<decltype(original)>(dlsym(RTLD_NEXT, "pthread_setspecific"));
    return set_specific_fails ? ENOMEM : original(key, value);
}

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

TEST_P(StoreStatistics, ThreadsBatchWithoutMemory) {
    const std::uint32_t before = counted(table_);
    std::jthread([&] {
        fail_direct_allocations(true);
        use(table_, 5);
        fail_direct_allocations(false);
        EXPECT_EQ(counted(table_), before);
    }).join();
    EXPECT_EQ(counted(table_), before + 5);
}

// A thread that cannot set its thread-specific key.
TEST_P(StoreStatistics, ThreadsThatCannotRegisterReportImmediately) {
    const std::uint32_t before = counted(table_);
    std::jthread([&] {
        set_specific_fails = true;
        use(table_, 5);
        set_specific_fails = false;
        EXPECT_EQ(counted(table_), before + 5);
        use(table_, 5);
        EXPECT_EQ(counted(table_), before + 10);
    }).join();
    EXPECT_EQ(counted(table_), before + 10);
}

// Thread-specific destructors run after those of thread_local objects, which may count, too.
TEST_P(StoreStatistics, DestructorsOfTheThreadCount) {
    struct Last {
        const TypedTable *table = nullptr;
        ~Last() { use(*table, 1); }
    };
    const std::uint32_t before = counted(table_);
    std::jthread([&] {
        thread_local Last last;
        last.table = &table_;
        use(table_, 5);
    }).join();
    EXPECT_EQ(counted(table_), before + 6);
    pthread_key_t key = 0;
    ASSERT_EQ(pthread_key_create(&key,
                                 [](void *table) { // runs after the store's destructor
                                     use(*static_cast<const TypedTable *>(table), 1);
                                 }),
              0);
    std::jthread([&] {
        ASSERT_EQ(pthread_setspecific(key, &table_), 0);
        use(table_, 5);
    }).join();
    EXPECT_EQ(counted(table_), before + 12);
    pthread_key_delete(key);
}

// The exit handlers of the program that were registered before the first event see all of them.
TEST(FreshStoreStatisticsAtExit, TheExitingThreadReportsItsBatch) {
    static const TypedTable &table = typed_tables.front();
    const pid_t child = fork();
    if (child == 0) {
        std::atexit([] { _exit(table.get_stat(L2VPN_STORE_STAT_COUNTED) == 4 ? 0 : 1); });
        std::uint32_t count = 0;
        std::atomic<bool> owned{false};
        std::thread([&] {
            std::uint32_t other_count = 0;
            table.count(&other_count);
            owned = true;
            pause();
        }).detach();
        while (!owned)
            std::this_thread::yield();
        for (int i = 0; i < 3; ++i)
            table.count(&count);
        std::exit(table.get_stat(L2VPN_STORE_STAT_COUNTED) == 1 ? 0 : 2);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
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
