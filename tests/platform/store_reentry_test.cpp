// SPDX-License-Identifier: MIT
// Calls of the store by the functions that it calls.
#include <atomic>
#include <functional>
#include <thread>
#include <utility>

#include <unistd.h>

#include "tests/platform/log_service.h"
#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

/// The action of the functions that the store calls. A global, because they take no such argument.
std::function<void()> in_callback;

void run_hook_once() {
    if (const auto call = std::exchange(in_callback, nullptr))
        call();
}

class StoreReentry : public StoreTest {
protected:
    void SetUp() override { register_log_service(); }
    void TearDown() override {
        in_callback = nullptr;
        set_allocation_hook(nullptr);
        set_log_hook(nullptr);
        StoreTest::TearDown();
        take_log();
    }

    /// Calls every operation on a table; each must be rejected and leave its arguments unchanged.
    static void expect_all_rejected(const TypedTable &table) {
        const Facts &about = facts(table.name);
        const Bytes caller = sample_record(about.record_size, 9);
        const KeyRequest key(about.keys[0], caller);
        Bytes stored = packed_record(about, caller);
        const Bytes untouched = stored;
        L2vpnDbRecData record = record_request(stored);
        const L2vpnDbUpdData update{nullptr, 0, 0, run_setter};
        std::uint32_t count = 77;
        L2vpnDbTblIntf *const intf = table.descriptor;
        const auto rejected = [](std::uint32_t code) { EXPECT_EQ(code, L2VPN_STORE_REENTERED); };
        rejected(DAL_VELD_Write(module(), intf, &record));
        rejected(DAL_VELD_Read(module(), intf, &key.request, &record));
        rejected(DAL_VELD_Update(module(), intf, &key.request, &record, &update));
        rejected(DAL_VELD_Delete(module(), intf, &key.request));
        EXPECT_EQ(DAL_VELD_CreateIterator(module(), intf), nullptr);
        EXPECT_EQ(DAL_VELD_CreateIteratorByKey(module(), intf, &key.request), nullptr);
        rejected(DAL_VELD_GetNextEntry(module(), intf, nullptr, &record));
        rejected(DAL_VELD_ReleaseIterator(module(), intf, nullptr));
        rejected(DAL_VELD_Count(module(), intf, &count));
        rejected(DAL_VELD_CountByKey(module(), intf, &key.request, &count));
        EXPECT_EQ(stored, untouched);
        EXPECT_EQ(count, 77U);
    }

    /// Functions that do not call the store work inside it.
    void expect_others_work() const {
        L2vpnDbRecObj *const another = intf_->createObject(module_);
        ASSERT_NE(another, nullptr);
        Bytes stored = packed(record(3));
        const L2vpnDbRecData request = record_request(stored);
        EXPECT_EQ(intf_->setAllFields(another, &request), 0U);
        intf_->resetObject(module_, another);
        intf_->releaseObject(module_, another);
        Bytes caller(facts_.record_size);
        EXPECT_EQ(table_.get_all_fields(stored.data(), caller.data()), 0U);
    }

    void expect_all_tables_rejected() const {
        const Counters before = counters();
        expect_all_rejected(table_);
        expect_all_rejected(other_);
        EXPECT_EQ(counters(), before);
        EXPECT_EQ(take_log(), std::vector<std::string>{});
    }

    const TypedTable &other_ = typed_tables[&table_ == &typed_tables[0] ? 1 : 0];
};
L2VPN_TEST_TYPED_TABLES(StoreReentry, any_table);

/// Runs in a separate process, in which the table is unused.
class FreshStoreReentry : public StoreReentry {};
L2VPN_TEST_TYPED_TABLES(FreshStoreReentry, any_table);

TEST_P(StoreReentry, FromASetterIsAllowed) {
    ASSERT_EQ(write(record(1)), 0U);
    Bytes others = sample_record(facts(other_.name).record_size, 1);
    const std::uint32_t calls = 3;
    std::uint32_t called = 0;
    const auto use_both_tables = [&](L2vpnDbRecObj *) {
        ++called;
        expect_others_work();
        EXPECT_EQ(other_.write(others.data()), 0U);
        EXPECT_EQ(other_.read(others.data()), 0U);
        EXPECT_EQ(other_.remove(others.data()), 0U);
        EXPECT_EQ(write(record(2)), 0U);
        EXPECT_EQ(count(), 2U);
        EXPECT_EQ(rest_of(open()).size(), 2U);
        EXPECT_EQ(rest_of(open(facts_.keys[0], record(2))), std::vector<Bytes>{packed(record(2))});
        EXPECT_EQ(remove(record(2)), 0U);
        return 0U;
    };
    for (std::uint32_t i = 0; i < calls; ++i)
        EXPECT_EQ(raw_update(packed(record(1)), use_both_tables), 0U);
    EXPECT_EQ(called, calls);
    EXPECT_EQ(count(), 1U);
    EXPECT_EQ(read(facts_.keys[0], record(1)), packed(record(1)));
    EXPECT_EQ(take_log(), std::vector<std::string>{});
}

TEST_P(FreshStoreReentry, FromTheMemoryServiceIsRejected) {
    if (is_used(table_)) {
        GTEST_SKIP() << "the table may have memory in reserve";
    }
    alarm(100); // a thread that waits for the callback would wait for ever
    register_memory_service();
    ASSERT_EQ(write(record(1)), 0U);
    std::uint32_t written = 1;
    // Other threads are not rejected.
    const auto expect_others_read = [&] {
        EXPECT_EQ(raw_count(), written);
        EXPECT_EQ(raw_read(facts_.keys[0], packed(record(1))), packed(record(1)));
    };
    // Writes, and then iterators, until both have allocated.
    const auto call_until_called = [&](auto call) {
        bool called = false;
        in_callback = [&] {
            expect_all_tables_rejected();
            std::jthread(expect_others_read).join();
            called = true;
        };
        for (std::uint32_t i = 0; !called; ++i) {
            ASSERT_LT(i, 5000U) << "no call allocates";
            set_allocation_hook(run_hook_once);
            call(i);
            set_allocation_hook(nullptr);
        }
    };
    call_until_called([&](std::uint32_t) {
        EXPECT_EQ(raw_write(packed(record(written + 1))), 0U);
        ++written;
    });
    EXPECT_EQ(count(), written);
    for (std::uint32_t i = 0; i < written; ++i)
        EXPECT_EQ(read(facts_.keys[0], record(i + 1)), packed(record(i + 1)));
    std::vector<L2vpnDbIter *> iterators;
    call_until_called(
        [&](std::uint32_t) { iterators.push_back(DAL_VELD_CreateIterator(module_, intf_)); });
    for (L2vpnDbIter *const iterator : iterators)
        EXPECT_EQ(rest_of(iterator).size(), written);
    alarm(0);
}

TEST_P(StoreReentry, FromTheLogServiceIsAllowed) {
    ASSERT_EQ(write(record(1)), 0U);
    bool called = false;
    in_callback = [&] {
        called = true;
        EXPECT_EQ(write(record(2)), 0U);
        EXPECT_EQ(count(), 2U);
        EXPECT_EQ(rest_of(open()).size(), 2U);
        EXPECT_EQ(remove(record(2)), 0U);
    };
    set_log_hook(run_hook_once);
    EXPECT_EQ(DAL_VELD_Count(module_, intf_, nullptr), L2VPN_STORE_NULL_POINTER);
    EXPECT_TRUE(called);
    EXPECT_EQ(count(), 1U);
}

// ---- The statistics function --------------------------------------------------------------------

/// Events counted by the test's descriptor, and the action of its statistics function.
std::array<std::atomic<std::uint32_t>, L2VPN_DB_STAT_COUNT> own_events;
std::atomic<std::uint32_t> calls_from_events;
L2vpnDbTblIntf *called_from_events = nullptr;

void calling_stat(std::uint32_t event, std::uint32_t amount) {
    static thread_local bool inside = false;
    own_events.at(event) += amount;
    if (inside)
        return;
    inside = true;
    std::uint32_t count = 0;
    EXPECT_EQ(DAL_VELD_Count(module(), called_from_events, &count), 0U);
    ++calls_from_events;
    inside = false;
}

TEST_P(StoreReentry, FromTheStatisticsFunctionIsAllowed) {
    L2vpnDbTblIntf calling = *intf_;
    calling.stat = calling_stat;
    for (L2vpnDbTblIntf *const called : {intf_, &calling, other_.descriptor}) {
        for (auto &events : own_events)
            events = 0;
        calls_from_events = 0;
        called_from_events = called;
        const std::uint32_t before =
            table_.get_stat(L2VPN_STORE_STAT_COUNTED) + other_.get_stat(L2VPN_STORE_STAT_COUNTED);
        constexpr std::uint32_t rounds = 500;
        const auto use = [&] {
            const KeyRequest key(facts_.keys[0], record(1));
            for (std::uint32_t i = 0; i < rounds; ++i) {
                std::uint32_t count = 0;
                EXPECT_EQ(DAL_VELD_Count(module_, &calling, &count), 0U);
                EXPECT_EQ(DAL_VELD_CountByKey(module_, &calling, &key.request, &count), 0U);
                EXPECT_EQ(DAL_VELD_Delete(module_, &calling, &key.request), L2VPN_STORE_NOT_FOUND);
            }
        };
        use();
        std::jthread{use}.join();
        const std::uint32_t nested = called == &calling
                                         ? own_events[L2VPN_STORE_STAT_COUNTED] - 2 * rounds
                                         : table_.get_stat(L2VPN_STORE_STAT_COUNTED) +
                                               other_.get_stat(L2VPN_STORE_STAT_COUNTED) - before;
        EXPECT_EQ(nested, calls_from_events);
        EXPECT_GE(nested, 3 * rounds);
        if (called != &calling) {
            EXPECT_EQ(own_events[L2VPN_STORE_STAT_COUNTED], 2 * rounds);
        }
        EXPECT_EQ(own_events[L2VPN_STORE_STAT_KEY_COUNTED], 2 * rounds);
        EXPECT_EQ(own_events[L2VPN_STORE_STAT_DELETE_MISSED], 2 * rounds);
    }
}

} // namespace
} // namespace l2vpn::test
