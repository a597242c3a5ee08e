// SPDX-License-Identifier: MIT
// Several threads on one table: no record is torn, lost or delivered twice.
#include <algorithm>
#include <atomic>
#include <barrier>
#include <mutex>
#include <set>
#include <thread>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

constexpr std::uint32_t pool_size = 1200;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

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

    /// Makes random calls from all threads, alternating between the tables. The events must add up.
    static void play_random_calls(const std::vector<const TypedTable *> &tables,
                                  TestRecords::Spread spread) {
        std::vector<TestRecords> pools;
        std::vector<Counters> events;
        for (const TypedTable *table : tables) {
            pools.emplace_back(facts(table->name), pool_size, spread);
            events.push_back(counters_of(*table));
        }
        std::mutex mutex;
        in_threads([&](std::uint32_t thread) {
            std::vector<RandomCalls> players;
            for (std::size_t i = 0; i < tables.size(); ++i)
                players.emplace_back(*tables[i], pools[i], Share{thread, thread_count}, thread);
            for (RandomCalls &player : players)
                player.fill();
            for (const std::uint32_t growth : {50U, 20U, 80U})
                for (std::uint32_t i = 0; i < 10; ++i)
                    for (RandomCalls &player : players)
                        player.play(50, growth);
            for (RandomCalls &player : players) {
                player.check_everything();
                player.finish();
            }
            const std::lock_guard lock(mutex);
            for (std::size_t i = 0; i < tables.size(); ++i)
                for (std::size_t event = 0; event < L2VPN_DB_STAT_COUNT; ++event)
                    events[i][event] += players[i].events()[event];
        });
        for (std::size_t i = 0; i < tables.size(); ++i) {
            EXPECT_EQ(counters_of(*tables[i]), events[i]) << tables[i]->name;
            std::uint32_t count = 77;
            EXPECT_EQ(tables[i]->count(&count), 0U);
            EXPECT_EQ(count, 0U);
        }
    }
};

L2VPN_TEST_TYPED_TABLES(StoreThreads, has_pool);

// One thread replaces a record as fast as it can; the others read it.
TEST_P(StoreThreads, ReadersSeeNoTornRecords) {
    const TestRecords pool(facts_, 1, TestRecords::Spread::distinct);
    std::vector<Bytes> versions;
    for (std::uint32_t version = 0; version < TestRecords::versions; ++version)
        versions.push_back(pool.make(0, version));
    const auto write_version = [&](std::uint32_t version) {
        const L2vpnDbRecData request = record_request(versions[version % versions.size()]);
        return DAL_VELD_Write(module_, intf_, &request);
    };
    ASSERT_EQ(write_version(0), 0U);
    std::atomic<std::uint32_t> reading{thread_count - 1};
    std::barrier start(thread_count);
    in_threads([&](std::uint32_t thread) {
        start.arrive_and_wait();
        if (thread == 0) {
            for (std::uint32_t i = 0; reading != 0; ++i)
                EXPECT_EQ(write_version(i), 0U);
            return;
        }
        // The primary key always finds the record; another key only while it has that value.
        const Key &key = facts_.keys[thread % 2 == 0 ? 0 : facts_.keys.size() - 1];
        const KeyRequest selected(key, TestRecords::key_value(key, versions[0]),
                                  KeyRequest::Value{});
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData request = record_request(buffer);
        for (std::uint32_t i = 0; i < 200 * rounds && !HasFailure(); ++i) {
            const std::uint32_t code = DAL_VELD_Read(module_, intf_, &selected.request, &request);
            std::uint32_t count = 77;
            EXPECT_EQ(DAL_VELD_CountByKey(module_, intf_, &selected.request, &count), 0U);
            if (key.index == 0) {
                EXPECT_EQ(code, 0U);
                EXPECT_EQ(count, 1U);
            }
            EXPECT_LE(count, 1U);
            if (code == 0) {
                EXPECT_NE(std::find(versions.begin(), versions.end(), buffer), versions.end())
                    << "a torn record";
                EXPECT_EQ(TestRecords::key_value(key, buffer), selected.value);
            } else {
                EXPECT_EQ(code, L2VPN_STORE_NOT_FOUND);
            }
        }
        --reading;
    });
    EXPECT_EQ(count(), 1U);
}

TEST_P(StoreThreads, NoWriteIsLost) {
    const auto of = [&](std::uint32_t thread, std::uint32_t i) { return record(thread << 16 | i); };
    std::set<Bytes> keys; // fewer than records if the key is short
    for (std::uint32_t thread = 0; thread < thread_count; ++thread) {
        for (std::uint32_t i = 0; i < rounds; ++i) {
            keys.insert(packed_key(facts_.keys[0], of(thread, i)));
        }
    }
    const Counters before = counters();
    in_threads([&](std::uint32_t thread) {
        for (std::uint32_t i = 0; i < rounds; ++i) {
            EXPECT_EQ(raw_write(packed(of(thread, i))), 0U);
        }
    });
    EXPECT_EQ(count(), keys.size());
    EXPECT_EQ(counters()[L2VPN_STORE_STAT_INSERTED] - before[L2VPN_STORE_STAT_INSERTED],
              keys.size());
}

TEST_P(StoreThreads, OneIteratorDeliversEachRecordToOneThread) {
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

TEST_P(StoreThreads, IteratorsSurviveWritesAndDeletes) {
    const Bytes kept = record(1);
    ASSERT_EQ(write(kept), 0U);
    const Bytes expected = packed(kept);
    in_threads([&](std::uint32_t thread) {
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData request = record_request(buffer);
        for (std::uint32_t i = 0; i < rounds; ++i) {
            const Bytes added = record(2 + thread * rounds + i);
            EXPECT_EQ(raw_write(packed(added)), 0U);
            L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
            ASSERT_NE(iterator, nullptr);
            std::uint32_t seen = 0;
            while (DAL_VELD_GetNextEntry(module_, intf_, iterator, &request) == 0) {
                seen += buffer == expected;
            }
            EXPECT_EQ(seen, 1U);
            EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
            EXPECT_EQ(table_.remove(added.data()), 0U);
        }
    });
    EXPECT_EQ(count(), 1U);
}

// Each thread models its own records exactly and reads those of the others, too.
TEST_P(StoreThreads, RandomCallsOnOneTable) {
    play_random_calls({&table_}, TestRecords::Spread::even);
}

TEST_P(StoreThreads, RandomCallsOnOneTableWithLongChains) {
    play_random_calls({&table_}, TestRecords::Spread::skewed);
}

TEST_P(StoreThreads, RandomCallsOnSeveralTables) {
    std::vector<const TypedTable *> others = tables_with(typed_tables, has_pool);
    std::erase(others, &table_);
    play_random_calls({&table_, others.front()}, TestRecords::Spread::even);
}

TEST_P(StoreThreads, MisusedHandlesAreRejected) {
    for (std::uint32_t i = 0; i < 20; ++i)
        ASSERT_EQ(write(record(i + 1)), 0U);
    const TypedTable &other = typed_tables[&table_ == &typed_tables[0] ? 1 : 0];
    std::array<std::atomic<L2vpnDbIter *>, 4> shared{};
    std::atomic<std::uint32_t> opened{0};
    std::atomic<std::uint32_t> released{0};
    const std::uint32_t released_before = counters()[L2VPN_STORE_STAT_ITER_RELEASED];
    in_threads([&](std::uint32_t thread) {
        std::mt19937 random(thread);
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData request = record_request(buffer);
        Bytes foreign(facts(other.name).stored_size);
        L2vpnDbRecData foreign_request = record_request(foreign);
        const KeyRequest key(facts_.keys.back(), record(1));
        for (std::uint32_t i = 0; i < 20 * rounds; ++i) {
            std::atomic<L2vpnDbIter *> &place = shared[random() % shared.size()];
            L2vpnDbIter *const handle = place;
            std::uint32_t code = 0;
            switch (random() % 5) {
            case 0: // other threads may still use the old one
                place = random() % 2 == 0
                            ? DAL_VELD_CreateIterator(module_, intf_)
                            : DAL_VELD_CreateIteratorByKey(module_, intf_, &key.request);
                ++opened;
                break;
            case 1:
                code = DAL_VELD_ReleaseIterator(module_, intf_, handle);
                EXPECT_TRUE(code == 0 || code == L2VPN_STORE_BAD_ITERATOR) << code;
                released += code == 0 ? 1 : 0;
                break;
            case 2:
                EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, other.descriptor, handle),
                          L2VPN_STORE_BAD_ITERATOR);
                break;
            case 3:
                EXPECT_EQ(
                    DAL_VELD_GetNextEntry(module_, other.descriptor, handle, &foreign_request),
                    L2VPN_STORE_BAD_ITERATOR);
                break;
            default:
                code = DAL_VELD_GetNextEntry(module_, intf_, handle, &request);
                EXPECT_TRUE(code == 0 || code == L2VPN_STORE_END ||
                            code == L2VPN_STORE_BAD_ITERATOR)
                    << code;
            }
        }
    });
    EXPECT_EQ(counters()[L2VPN_STORE_STAT_ITER_RELEASED] - released_before, released);
    EXPECT_LE(released, opened);
    EXPECT_EQ(count(), 20U);
}

// The library's shared state: the fast iterator's slot, its initialisation, the counters.
TEST_P(StoreThreads, TypedCallsShareTheSlotAndTheCounters) {
    table_.glb_init(); // before any iterator is created
    auto *const fast = static_cast<L2vpnDbIter *>(table_.control_block);
    const TestRecords pool(facts_, thread_count, TestRecords::Spread::even);
    const Counters before = counters();
    std::atomic<std::uint32_t> fast_ones = 0;
    in_threads([&](std::uint32_t thread) {
        const Bytes caller = unpacked(pool.make(thread, thread));
        const L2vpnDalIntf row = table_.dal_intf();
        std::uint32_t last = before[L2VPN_STORE_STAT_INSERTED];
        for (std::uint32_t i = 0; i < rounds; ++i) {
            EXPECT_EQ(row.write(caller.data(), facts_.record_size), 0U);
            L2vpnDbIter *const iterator = table_.create_iter(0, caller.data());
            fast_ones += iterator == fast ? 1 : 0;
            Bytes found(facts_.record_size);
            EXPECT_EQ(table_.get_next(iterator, found.data()), 0U);
            EXPECT_EQ(packed(found), packed(caller));
            EXPECT_EQ(row.getNext(iterator, found.data(), facts_.record_size),
                      iterator == fast ? L2VPN_DB_NO_MORE : L2VPN_STORE_END);
            EXPECT_EQ(row.releaseIter(iterator), 0U);
            EXPECT_EQ(table_.remove(caller.data()), 0U);
            const std::uint32_t inserted = table_.get_stat(L2VPN_STORE_STAT_INSERTED);
            EXPECT_LE(inserted - last, thread_count * rounds) << "a counter decreased";
            last = inserted;
            EXPECT_EQ(table_.glb_init(), 0U);
        }
    });
    EXPECT_GE(fast_ones, 1U);
    Counters events{};
    const std::uint32_t calls = thread_count * rounds;
    events[L2VPN_STORE_STAT_INSERTED] = events[L2VPN_STORE_STAT_DELETED] = calls;
    events[L2VPN_STORE_STAT_READ] = fast_ones;
    for (const std::uint32_t event : {L2VPN_STORE_STAT_KEY_ITER_OPENED, L2VPN_STORE_STAT_DELIVERED,
                                      L2VPN_STORE_STAT_ITER_ENDED, L2VPN_STORE_STAT_ITER_RELEASED})
        events[event] = calls - fast_ones;
    const Counters after = counters();
    for (std::size_t event = 0; event < events.size(); ++event)
        EXPECT_EQ(after[event] - before[event], events[event]) << "event " << event;
}

// All threads release one handle at once.
TEST_P(StoreThreads, OneReleaseOfManySucceeds) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        L2vpnDbIter *const iterator = open();
        std::atomic<std::uint32_t> released{0};
        in_threads([&](std::uint32_t) {
            const std::uint32_t code = DAL_VELD_ReleaseIterator(module_, intf_, iterator);
            EXPECT_TRUE(code == 0 || code == L2VPN_STORE_BAD_ITERATOR);
            released += code == 0 ? 1 : 0;
        });
        EXPECT_EQ(released, 1U);
    }
}

} // namespace
} // namespace l2vpn::test
