// SPDX-License-Identifier: MIT
// Interleavings that are forced: one thread waits inside a setter, a memory service or a statistics
// function until the others have made their calls.
#include <algorithm>
#include <atomic>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"
#include "tests/support/script.h"

namespace l2vpn::test {
namespace {

/// Step 1 ends when the store has called the function, which returns after step 2.
Script *script = nullptr;

void meet() {
    script->over(1);
    script->wait_for(2);
}

std::atomic<bool> met = false;
void meet_once() {
    set_intruder(nullptr);
    met = true;
    meet();
}

/// The contents that the setter writes, and its result.
const L2vpnDbTblIntf *table_set = nullptr;
Bytes contents_set;
std::uint32_t result_set = 0;

std::uint32_t meeting_setter(const L2vpnDbRecData *, L2vpnDbRecObj *object, const std::uint32_t *,
                             std::uint32_t) {
    meet();
    const L2vpnDbRecData contents = record_request(contents_set);
    EXPECT_EQ(table_set->setAllFields(object, &contents), 0U);
    return result_set;
}

void meeting_stat(std::uint32_t event, std::uint32_t) {
    if (event == L2VPN_STORE_STAT_INSERTED)
        meet();
}

constexpr std::uint32_t pool_size = 1200;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

class StoreScripted : public StoreTest {
protected:
    void SetUp() override {
        script = &script_;
        EXPECT_EQ(quietly_counted(), 0U); // this thread becomes the table's owner
    }

    // The fixture's calls check the counters, which other threads change.

    std::uint32_t quietly_written(Bytes stored) const {
        const L2vpnDbRecData request = record_request(stored);
        return DAL_VELD_Write(module_, intf_, &request);
    }
    /// The record with the key value of `of`; nullopt if there is none.
    [[nodiscard]] std::optional<Bytes> quietly_read(const Key &key, const Bytes &of) const {
        const KeyRequest selected(key, TestRecords::key_value(key, of), KeyRequest::Value{});
        Bytes stored(facts_.stored_size);
        L2vpnDbRecData request = record_request(stored);
        const std::uint32_t code = DAL_VELD_Read(module_, intf_, &selected.request, &request);
        EXPECT_TRUE(code == 0 || code == L2VPN_STORE_NOT_FOUND) << code;
        return code == 0 ? std::optional(stored) : std::nullopt;
    }
    [[nodiscard]] std::uint32_t quietly_counted() const {
        std::uint32_t count = 77;
        EXPECT_EQ(DAL_VELD_Count(module_, intf_, &count), 0U);
        return count;
    }

    /// Expects the table to hold this record only, under all its keys.
    void expect_only(const Bytes &stored) const {
        EXPECT_EQ(quietly_counted(), 1U);
        for (const Key &key : facts_.keys)
            EXPECT_EQ(quietly_read(key, stored), stored) << key.name;
    }

    /// Updates the first record on another thread, and calls `during` while the setter waits.
    template <class During>
    void update_while(std::uint32_t setter_result, During during) {
        ASSERT_EQ(quietly_written(old_), 0U);
        table_set = intf_;
        contents_set = new_;
        result_set = setter_result;
        const KeyRequest key(facts_.keys[0], pool_.primary(0), KeyRequest::Value{});
        const L2vpnDbRecData request = unread_record();
        const L2vpnDbUpdData update{nullptr, 0, 0, meeting_setter};
        std::jthread updater([&] {
            EXPECT_EQ(DAL_VELD_Update(module_, intf_, &key.request, &request, &update),
                      setter_result);
        });
        script_.wait_for(1);
        expect_only(old_); // readers do not wait for a setter
        during([&] {
            script_.over(2);
            updater.join();
        });
    }

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::apart};
    const Bytes old_ = pool_.make(0, 0);
    const Bytes new_ = pool_.make(0, 2);
    Script script_;
};
L2VPN_TEST_TYPED_TABLES(StoreScripted, has_pool);

/// In a process that has used no table.
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
        script_.over(0);
        update_while(result, [&](auto go_on) {
            go_on();
            expect_only(result == 0 ? new_ : old_);
        });
    }
}

TEST_P(StoreScripted, SetterAgainstAnIterator) {
    L2vpnDbIter *const iterator = open(); // before the record is inserted
    ASSERT_EQ(quietly_written(old_), 0U);
    L2vpnDbIter *const late = open();
    update_while(0, [&](auto go_on) {
        Bytes stored(facts_.stored_size);
        L2vpnDbRecData request = record_request(stored);
        std::atomic<bool> returned = false;
        Waiting reader([&] {
            EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, late, &request), 0U);
            returned = true;
        });
        reader.wait_until_it_waits();
        EXPECT_FALSE(returned);
        go_on();
        reader.join();
        EXPECT_EQ(stored, new_) << "the contents at delivery";
        EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, late, &request), L2VPN_STORE_END);
        EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, iterator, &request), L2VPN_STORE_END);
        EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, late), 0U);
        EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
    });
}

TEST_P(StoreScripted, SetterAgainstADelete) {
    update_while(0, [&](auto go_on) {
        std::atomic<bool> returned = false;
        Waiting deleter([&] {
            const KeyRequest key(facts_.keys[0], pool_.primary(0), KeyRequest::Value{});
            EXPECT_EQ(DAL_VELD_Delete(module_, intf_, &key.request), 0U);
            returned = true;
        });
        deleter.wait_until_it_waits();
        EXPECT_FALSE(returned);
        expect_only(old_);
        go_on();
        deleter.join();
        EXPECT_EQ(quietly_counted(), 0U);
        for (const Bytes &gone : {old_, new_})
            for (const Key &key : facts_.keys)
                EXPECT_EQ(quietly_read(key, gone), std::nullopt);
    });
}

// One thread iterates; another one deletes the next record, and reinserts it.
TEST_P(StoreScripted, IteratorsAgainstDeletes) {
    for (std::uint32_t i = 0; i < 6; ++i)
        ASSERT_EQ(quietly_written(pool_.make(i, 0)), 0U);
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
                const KeyRequest key(facts_.keys[0], pool_.primary(i), KeyRequest::Value{});
                EXPECT_EQ(DAL_VELD_Delete(module_, intf_, &key.request), 0U);
                if (turn != 1) {
                    EXPECT_EQ(quietly_written(next), 0U);
                }
                deleted.push_back(next);
                break;
            }
            script_.over(2 * turn + 2);
        }
    });
    Bytes stored(facts_.stored_size);
    L2vpnDbRecData request = record_request(stored);
    for (std::uint32_t turn = 0; turn < 3; ++turn) {
        EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, iterator, &request), 0U);
        delivered.push_back(stored);
        script_.over(2 * turn + 1);
        script_.wait_for(2 * turn + 2);
    }
    deleter.join();
    EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, iterator, &request), L2VPN_STORE_END);
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
    for (std::uint32_t i = 0; i < 6; ++i) {
        const Bytes record = pool_.make(i, 0);
        EXPECT_EQ(std::ranges::count(delivered, record) + std::ranges::count(deleted, record), 1);
    }
    EXPECT_EQ(quietly_counted(), 5U);
}

// No call waits for a statistics function.
TEST_P(StoreScripted, StatisticsFunctionAgainstEverything) {
    L2vpnDbTblIntf meeting = *intf_;
    meeting.stat = meeting_stat;
    std::jthread writer([&] {
        Bytes stored = old_;
        const L2vpnDbRecData request = record_request(stored);
        EXPECT_EQ(DAL_VELD_Write(module_, &meeting, &request), 0U);
        // The events are batched if another thread owns the table.
        for (std::uint32_t i = 0; i < L2VPN_STORE_EVENT_LOT; ++i) {
            std::uint32_t count = 0;
            EXPECT_EQ(DAL_VELD_Count(module_, &meeting, &count), 0U);
        }
    });
    script_.wait_for(1);
    expect_only(old_);
    EXPECT_EQ(quietly_written(new_), 0U);
    expect_only(new_);
    L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
    script_.over(2);
    writer.join();
}

// A write waits for memory inside its write section: readers must not see it, and wait.
TEST_P(FreshStoreScripted, WriteAgainstReaders) {
    if (is_used(table_))
        GTEST_SKIP() << "the table may have free slots";
    ASSERT_EQ(quietly_written(old_), 0U);
    std::atomic<std::uint32_t> written = 1;
    for (const bool fails : {false, true}) {
        script_.over(0);
        met = false;
        std::jthread writer([&] {
            set_intruder(meet_once);
            if (fails)
                fail_allocations_after(0);
            while (!met) {
                const std::uint32_t code = quietly_written(pool_.make(written, 0));
                EXPECT_EQ(code, fails && met ? L2VPN_STORE_NO_MEMORY : 0U);
                written += code == 0 ? 1 : 0;
            }
        });
        script_.wait_for(1);
        EXPECT_EQ(quietly_counted(), written) << "a count does not wait";
        std::atomic<bool> returned = false;
        Waiting reader([&] {
            EXPECT_EQ(quietly_read(facts_.keys[0], old_), old_);
            returned = true;
        });
        reader.wait_until_it_waits();
        EXPECT_FALSE(returned);
        script_.over(2);
        reader.join();
        writer.join();
        EXPECT_EQ(quietly_counted(), written);
        for (std::uint32_t i = 0; i < written; ++i)
            EXPECT_EQ(quietly_read(facts_.keys[0], pool_.make(i, 0)), pool_.make(i, 0));
        EXPECT_EQ(quietly_read(facts_.keys[0], pool_.make(written, 0)), std::nullopt);
    }
}

TEST_P(FreshStoreScripted, FirstCallsOnTwoThreads) {
    if (is_used(table_))
        GTEST_SKIP() << "the table has been used before";
    set_intruder(meet_once);
    std::jthread creator([&] { EXPECT_EQ(quietly_written(pool_.make(0, 0)), 0U); });
    script_.wait_for(1);
    Waiting other([&] { EXPECT_EQ(quietly_written(pool_.make(1, 0)), 0U); });
    other.wait_until_it_waits();
    script_.over(2);
    creator.join();
    other.join();
    EXPECT_EQ(quietly_counted(), 2U);
    EXPECT_EQ(quietly_read(facts_.keys[0], pool_.make(1, 0)), pool_.make(1, 0));
}

} // namespace
} // namespace l2vpn::test
