// SPDX-License-Identifier: MIT
// Forced interleavings in the store: one thread blocks inside a setter, a memory service or a
// statistics function until the others have made their calls.
#include <algorithm>
#include <atomic>

#include <unistd.h>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"
#include "tests/support/script.h"

namespace l2vpn::test {
namespace {

/// Step 1 ends when the store has called the function, which returns after step 2.
Script *script = nullptr;

void pause() {
    script->advance_to(1);
    script->wait_for(2);
}

std::atomic<bool> paused = false;
void pause_once() {
    set_allocation_hook(nullptr);
    paused = true;
    pause();
}

/// The contents that the setter writes, and its result.
const L2vpnDbTblIntf *table_set = nullptr;
Bytes contents_set;
std::uint32_t result_set = 0;

std::uint32_t pausing_setter(const L2vpnDbRecData *, L2vpnDbRecObj *object, const std::uint32_t *,
                             std::uint32_t) {
    pause();
    const L2vpnDbRecData contents = record_request(contents_set);
    EXPECT_EQ(table_set->setAllFields(object, &contents), 0U);
    return result_set;
}

void pausing_stat(std::uint32_t event, std::uint32_t) {
    if (event == L2VPN_STORE_STAT_INSERTED)
        pause();
}

constexpr std::uint32_t pool_size = 1200;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

class StoreScripted : public StoreTest {
protected:
    void SetUp() override {
        script = &script_;
        EXPECT_EQ(raw_count(), 0U); // this thread becomes the table's owner
    }

    /// Expects the table to hold this record only, under all its keys.
    void expect_only(const Bytes &stored) const {
        EXPECT_EQ(raw_count(), 1U);
        for (const Key &key : facts_.keys)
            EXPECT_EQ(raw_read(key, stored), stored) << key.name;
    }

    /// Updates the first record on another thread, and calls `during` while the setter waits.
    template <class During>
    void update_while(std::uint32_t setter_result, During during) {
        update_while(setter_result, setter_result, during);
    }
    template <class During>
    void update_while(std::uint32_t setter_result, std::uint32_t expected, During during) {
        ASSERT_EQ(raw_write(old_), 0U);
        table_set = intf_;
        contents_set = new_;
        result_set = setter_result;
        const KeyRequest key(facts_.keys[0], pool_.primary(0), KeyRequest::Value{});
        const L2vpnDbRecData request = unread_record();
        const L2vpnDbUpdData update{nullptr, 0, 0, pausing_setter};
        std::jthread updater([&] {
            EXPECT_EQ(DAL_VELD_Update(module_, intf_, &key.request, &request, &update), expected);
        });
        script_.wait_for(1);
        expect_only(old_); // no call waits for the setter
        during([&] {
            script_.advance_to(2);
            updater.join();
        });
    }

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::distinct};
    const Bytes old_ = pool_.make(0, 0);
    const Bytes new_ = pool_.make(0, 2);
    Script script_;
};
L2VPN_TEST_TYPED_TABLES(StoreScripted, has_pool);

/// Runs in a separate process, in which the table is unused.
class FreshStoreScripted : public StoreScripted {
protected:
    void SetUp() override {
        script = &script_;
        register_memory_service();
    }
};
L2VPN_TEST_TYPED_TABLES(FreshStoreScripted, has_pool);

TEST_P(StoreScripted, SetterAgainstReaders) {
    for (const std::uint32_t result : {0U, 7U}) {
        script_.advance_to(0);
        update_while(result, [&](auto go_on) {
            go_on();
            expect_only(result == 0 ? new_ : old_);
        });
    }
}

TEST_P(StoreScripted, SetterAgainstAnIterator) {
    L2vpnDbIter *const iterator = open(); // before the record is inserted
    ASSERT_EQ(raw_write(old_), 0U);
    L2vpnDbIter *const late = open();
    update_while(0, [&](auto go_on) {
        Bytes stored(facts_.stored_size);
        L2vpnDbRecData request = record_request(stored);
        EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, late, &request), 0U);
        EXPECT_EQ(stored, old_) << "the contents at delivery";
        go_on();
        EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, late, &request), L2VPN_STORE_END);
        EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, iterator, &request), L2VPN_STORE_END);
        EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, late), 0U);
        EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
        expect_only(new_);
    });
}

TEST_P(StoreScripted, SetterAgainstADelete) {
    update_while(0, L2VPN_STORE_NOT_FOUND, [&](auto go_on) {
        EXPECT_EQ(raw_remove(old_), 0U);
        EXPECT_EQ(raw_count(), 0U);
        go_on();
        EXPECT_EQ(raw_count(), 0U);
        for (const Bytes &gone : {old_, new_})
            for (const Key &key : facts_.keys)
                EXPECT_EQ(raw_read(key, gone), std::nullopt);
    });
}

TEST_P(StoreScripted, SetterAgainstAWrite) {
    update_while(0, [&](auto go_on) {
        EXPECT_EQ(raw_write(pool_.make(0, 4)), 0U);
        expect_only(pool_.make(0, 4));
        go_on();
        expect_only(new_); // the setter sets the whole record
    });
}

// One thread iterates; another one deletes the next record, and reinserts it.
TEST_P(StoreScripted, IteratorsAgainstDeletes) {
    for (std::uint32_t i = 0; i < 6; ++i)
        ASSERT_EQ(raw_write(pool_.make(i, 0)), 0U);
    L2vpnDbIter *const iterator = open();
    std::vector<Bytes> delivered;
    std::vector<Bytes> deleted;
    std::jthread deleter([&] {
        for (std::uint32_t turn = 0; turn < 3; ++turn) {
            script_.wait_for(2 * turn + 1);
            for (std::uint32_t i = 0; i < 6; ++i) {
                const Bytes next = pool_.make(i, 0);
                if (std::ranges::count(delivered, next) + std::ranges::count(deleted, next) != 0)
                    continue;
                EXPECT_EQ(raw_remove(next), 0U);
                if (turn != 1) {
                    EXPECT_EQ(raw_write(next), 0U);
                }
                deleted.push_back(next);
                break;
            }
            script_.advance_to(2 * turn + 2);
        }
    });
    Bytes stored(facts_.stored_size);
    L2vpnDbRecData request = record_request(stored);
    for (std::uint32_t turn = 0; turn < 3; ++turn) {
        EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, iterator, &request), 0U);
        delivered.push_back(stored);
        script_.advance_to(2 * turn + 1);
        script_.wait_for(2 * turn + 2);
    }
    deleter.join();
    EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, iterator, &request), L2VPN_STORE_END);
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
    for (std::uint32_t i = 0; i < 6; ++i) {
        const Bytes record = pool_.make(i, 0);
        EXPECT_EQ(std::ranges::count(delivered, record) + std::ranges::count(deleted, record), 1);
    }
    EXPECT_EQ(raw_count(), 5U);
}

// No call waits for a statistics function.
TEST_P(StoreScripted, StatisticsFunctionAgainstEverything) {
    L2vpnDbTblIntf pausing = *intf_;
    pausing.stat = pausing_stat;
    std::jthread writer([&] {
        Bytes stored = old_;
        const L2vpnDbRecData request = record_request(stored);
        EXPECT_EQ(DAL_VELD_Write(module_, &pausing, &request), 0U);
        // The events are batched if another thread owns the table.
        for (std::uint32_t i = 0; i < L2VPN_STORE_EVENT_LOT; ++i) {
            std::uint32_t count = 0;
            EXPECT_EQ(DAL_VELD_Count(module_, &pausing, &count), 0U);
        }
    });
    script_.wait_for(1);
    expect_only(old_);
    EXPECT_EQ(raw_write(new_), 0U);
    expect_only(new_);
    L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
    script_.advance_to(2);
    writer.join();
}

// A write blocks in the memory service: other writers wait for it, readers do not.
TEST_P(FreshStoreScripted, SlowMemoryServiceAgainstReaders) {
    if (is_used(table_))
        GTEST_SKIP() << "the table may have free slots";
    alarm(100); // a reader that waits would wait for ever
    ASSERT_EQ(raw_write(old_), 0U);
    std::uint32_t written = 1;
    for (std::uint32_t turn = 0; turn < 6; ++turn) {
        const bool fails = turn % 2 == 1;
        script_.advance_to(0);
        paused = false;
        std::uint32_t now_written = written;
        std::jthread writer([&] {
            set_allocation_hook(pause_once);
            if (fails)
                fail_allocations_after(0);
            while (!paused) {
                const std::uint32_t code = raw_write(pool_.make(now_written, 0));
                EXPECT_EQ(code, fails && paused ? L2VPN_STORE_NO_MEMORY : 0U);
                now_written += code == 0 && !paused ? 1U : 0U;
            }
        });
        script_.wait_for(1);
        std::atomic<bool> returned = false;
        BackgroundCall other_writer([&] {
            EXPECT_EQ(raw_write(new_), 0U);
            returned = true;
        });
        other_writer.wait_until_blocked();
        EXPECT_FALSE(returned);
        std::vector<std::jthread> readers;
        for (int thread = 0; thread < 3; ++thread)
            readers.emplace_back([&] {
                EXPECT_EQ(raw_count(), now_written);
                for (std::uint32_t i = 0; i <= now_written; ++i) {
                    const Bytes stored = pool_.make(i, i == 0 && turn != 0 ? 2 : 0);
                    const auto expected = i < now_written ? std::optional(stored) : std::nullopt;
                    EXPECT_EQ(raw_read(facts_.keys[0], stored), expected);
                    // Other records may share the values of secondary keys.
                    for (const Key &key : facts_.keys)
                        EXPECT_TRUE(raw_read(key, stored).has_value() || !expected) << key.name;
                }
            });
        readers.clear();
        EXPECT_FALSE(returned);
        script_.advance_to(2);
        other_writer.join();
        writer.join();
        written = now_written + (fails ? 0 : 1);
        EXPECT_EQ(raw_count(), written);
        EXPECT_EQ(raw_read(facts_.keys[0], new_), new_);
        for (std::uint32_t i = 1; i < written; ++i)
            EXPECT_EQ(raw_read(facts_.keys[0], pool_.make(i, 0)), pool_.make(i, 0));
        EXPECT_EQ(raw_read(facts_.keys[0], pool_.make(written, 0)), std::nullopt);
    }
    alarm(0);
}

TEST_P(FreshStoreScripted, FirstCallsOnTwoThreads) {
    if (is_used(table_))
        GTEST_SKIP() << "the table has been used before";
    set_allocation_hook(pause_once);
    std::jthread creator([&] { EXPECT_EQ(raw_write(pool_.make(0, 0)), 0U); });
    script_.wait_for(1);
    BackgroundCall other([&] { EXPECT_EQ(raw_write(pool_.make(1, 0)), 0U); });
    other.wait_until_blocked();
    script_.advance_to(2);
    creator.join();
    other.join();
    EXPECT_EQ(raw_count(), 2U);
    EXPECT_EQ(raw_read(facts_.keys[0], pool_.make(1, 0)), pool_.make(1, 0));
}

} // namespace
} // namespace l2vpn::test
