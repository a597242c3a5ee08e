// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <thread>

namespace l2vpn::test {
namespace {

constexpr std::size_t thread_count = 8;

/// Runs the function on eight threads, started by a barrier.
template <class Function>
void run_together(Function function) {
    std::barrier start(static_cast<std::ptrdiff_t>(thread_count));
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < thread_count; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            function(i);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

class Concurrency : public TypedTableTest {
protected:
    void SetUp() override {
        TypedTableTest::SetUp();
        platform().iterator = store_iterator();
    }

    /// Runs the function on another thread while the block's spin lock is held. It must not return
    /// until the lock is released.
    template <class Function>
    void expect_blocks_on_spin_lock(Function function) {
        const std::atomic_ref lock(*reinterpret_cast<std::uint32_t *>(block().spin_lock()));
        lock = 1;
        expect_blocks(function, [&] { lock = 0; });
    }

    template <class Function, class Release>
    static void expect_blocks(Function function, Release release) {
        std::atomic<bool> returned = false;
        std::thread thread([&] {
            function();
            returned = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(returned);
        release();
        thread.join();
    }

    const Bytes record = sample_record(expected.record_size, 22);
};

TEST_P(Concurrency, OneCreatorGetsTheFastSlot) {
    for (int round = 0; round < 20; ++round) {
        std::array<L2vpnDbIter *, thread_count> handles{};
        run_together(
            [&](std::size_t i) { handles[i] = table.create_fast_pri_iter(record.data()); });
        EXPECT_EQ(std::ranges::count(handles, fast_handle()), 1);
        EXPECT_EQ(std::ranges::count(handles, store_iterator()), 7);
        EXPECT_EQ(block().in_use(), 1);
        EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    }
    EXPECT_EQ(platform().calls.size(), 20U * 7U);
}

TEST_P(Concurrency, SlotHoldsItsOwnersKey) {
    std::array<Bytes, thread_count> records;
    for (std::uint32_t i = 0; i < thread_count; ++i) {
        records[i] = sample_record(expected.record_size, 100 + i);
    }
    for (int round = 0; round < 10; ++round) {
        run_together([&](std::size_t i) {
            for (int turn = 0; turn < 20; ++turn) {
                if (table.create_fast_pri_iter(records[i].data()) == fast_handle()) {
                    const Bytes key(block().key(), block().key() + expected.keys[0].length);
                    EXPECT_EQ(key, packed_key(expected.keys[0], records[i]));
                    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
                }
            }
        });
        EXPECT_EQ(block().in_use(), 0);
    }
}

TEST_P(Concurrency, ConcurrentInitialisationRunsOnce) {
    run_together([&](std::size_t i) {
        if (i % 2 == 0) {
            EXPECT_EQ(table.glb_init(), 0U);
        } else {
            EXPECT_EQ(table.dal_intf().releaseIter, table.release_iter);
        }
    });
    EXPECT_EQ(block().spin_lock_ready(), 1);
    EXPECT_EQ(table.create_fast_pri_iter(record.data()), fast_handle());
}

TEST_P(Concurrency, CountersLoseNoIncrement) {
    run_together([&](std::size_t i) {
        for (int n = 0; n < 100; ++n) {
            table.stat(5, 3);
            table.stat(static_cast<std::uint32_t>(i) + 10, 1);
        }
    });
    EXPECT_EQ(table.get_stat(5), thread_count * 300U);
    for (std::uint32_t i = 0; i < thread_count; ++i) {
        EXPECT_EQ(table.get_stat(i + 10), 100U);
    }
}

TEST_P(Concurrency, CreateAndReleaseTakeTheSpinLock) {
    expect_blocks_on_spin_lock(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(record.data()), fast_handle()); });
    expect_blocks_on_spin_lock(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(record.data()), store_iterator()); });
    expect_blocks_on_spin_lock([&] { EXPECT_EQ(table.release_iter(fast_handle()), 0U); });
    EXPECT_EQ(block().in_use(), 0);
}

TEST_P(Concurrency, OneOfManyBlockedCreatorsGetsTheFastSlot) {
    const std::atomic_ref lock(*reinterpret_cast<std::uint32_t *>(block().spin_lock()));
    for (int round = 0; round < 5; ++round) {
        lock = 1;
        std::atomic<std::size_t> fast = 0;
        run_together([&](std::size_t i) {
            if (i == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                lock = 0;
            } else if (table.create_fast_pri_iter(record.data()) == fast_handle()) {
                ++fast;
            }
        });
        EXPECT_EQ(fast, 1U);
        EXPECT_EQ(lock, 0U);
        table.release_iter(fast_handle());
    }
}

TEST_P(Concurrency, InitialisationTakesTheMutex) {
    auto *mutex = reinterpret_cast<pthread_mutex_t *>(block().mutex());
    pthread_mutex_lock(mutex);
    expect_blocks([&] { EXPECT_EQ(table.glb_init(), 0U); },
                  [&] {
                      EXPECT_EQ(block().spin_lock_ready(), 0);
                      pthread_mutex_unlock(mutex);
                  });
    EXPECT_EQ(block().spin_lock_ready(), 1);
    EXPECT_EQ(pthread_mutex_trylock(mutex), 0) << "the mutex is released";
    pthread_mutex_unlock(mutex);
}

TEST_P(Concurrency, InitialisationDoesNotTakeTheSpinLock) {
    const std::uint32_t locked = 1;
    std::memcpy(block().spin_lock(), &locked, sizeof locked);
    block().spin_lock_ready() = 1;
    EXPECT_EQ(table.glb_init(), 0U);
    EXPECT_EQ(load<std::uint32_t>(block().spin_lock()), locked);
}

L2VPN_TEST_TYPED_TABLES(Concurrency, any_table);

/// Tables whose primary key contains a byte string: the memcpy_s call observes the key build.
class KeyBuild : public Concurrency {};

TEST_P(KeyBuild, HoldsTheSpinLockWithAndWithoutContention) {
    const auto strings = static_cast<std::size_t>(std::ranges::count_if(
        expected.keys.front().members, [](const Field &member) { return member.elements != 1; }));
    std::atomic<std::size_t> copies = 0;
    platform().during_copy = [&] {
        ++copies;
        EXPECT_NE(load<std::uint32_t>(block().spin_lock()), 0U);
        EXPECT_EQ(block().in_use(), 0) << "the flag is set after the key is built";
    };
    EXPECT_EQ(table.create_fast_pri_iter(record.data()), fast_handle());
    EXPECT_EQ(copies, strings);
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    expect_blocks_on_spin_lock(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(record.data()), fast_handle()); });
    EXPECT_EQ(copies, 2 * strings);
}

L2VPN_TEST_TYPED_TABLES(KeyBuild, [](const Facts &table) {
    return std::ranges::any_of(table.keys.front().members,
                               [](const Field &member) { return member.elements != 1; });
});

} // namespace
} // namespace l2vpn::test
