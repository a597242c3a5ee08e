// SPDX-License-Identifier: MIT
// Programs own their descriptors: a table may have many, on the stack, or inconsistent ones.
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

/// One table is enough: the tested code does not depend on the table.
bool is_first_table(const Facts &table) {
    return table.name == typed_table_names().front();
}

/// In a process per test, because the descriptor cache evicts nothing.
class FreshStoreDescriptors : public StoreTest {
protected:
    void TearDown() override {
        stop_failing_allocations();
        StoreTest::TearDown();
    }

    [[nodiscard]] const TypedTable &other_table() const {
        for (const TypedTable &table : typed_tables)
            if (facts(table.name).stored_size != facts_.stored_size)
                return table;
        ADD_FAILURE() << "all tables have the same stored size";
        return table_;
    }

    std::uint32_t count_with(L2vpnDbTblIntf &descriptor) const {
        std::uint32_t result = 0;
        EXPECT_EQ(DAL_VELD_Count(module_, &descriptor, &result), 0U);
        return result;
    }
};
L2VPN_TEST_TYPED_TABLES(FreshStoreDescriptors, is_first_table);

// More descriptors than the cache holds.
TEST_P(FreshStoreDescriptors, AllOfATableWork) {
    static L2vpnDbTblIntf descriptors[1100];
    ASSERT_EQ(write(record(1)), 0U);
    for (L2vpnDbTblIntf &descriptor : descriptors)
        descriptor = *intf_;
    for (int time = 0; time < 2; ++time)
        for (L2vpnDbTblIntf &descriptor : descriptors)
            ASSERT_EQ(count_with(descriptor), 1U) << &descriptor - descriptors;
}

// The first call of a table may come with a descriptor that finds no free entry.
TEST_P(FreshStoreDescriptors, FirstUseWorksIfTheCacheIsFull) {
    static L2vpnDbTblIntf descriptors[1100];
    for (L2vpnDbTblIntf &descriptor : descriptors) {
        descriptor = *intf_;
        ASSERT_EQ(count_with(descriptor), 0U);
    }
    ASSERT_FALSE(is_used(other_table()));
    static L2vpnDbTblIntf other;
    other = *other_table().descriptor;
    EXPECT_EQ(count_with(other), 0U);
    EXPECT_EQ(count_with(other), 0U);
}

/// Holds the first use of another table, in the memory service, while it exists.
class FirstUse {
public:
    explicit FirstUse(const TypedTable &table) {
        register_memory_service();
        set_allocation_hook([] {
            entered = true;
            while (!done)
                std::this_thread::yield();
        });
        user_ = std::jthread([&table] {
            std::uint32_t count = 0;
            EXPECT_EQ(table.count(&count), 0U);
        });
        while (!entered)
            std::this_thread::yield();
    }
    ~FirstUse() {
        end();
        user_.join();
        set_allocation_hook(nullptr);
    }
    FirstUse(const FirstUse &) = delete;
    FirstUse &operator=(const FirstUse &) = delete;

    static void end() { done = true; }

private:
    static inline std::atomic<bool> entered{false};
    static inline std::atomic<bool> done{false};
    std::jthread user_;
};

// Neither descriptors beyond the cache nor those whose name has changed wait for the mutex under
// which tables are created.
TEST_P(FreshStoreDescriptors, TakeNoLockAfterTheFirstUse) {
    if (is_used(other_table()))
        GTEST_SKIP() << "the other table has been used before";
    static L2vpnDbTblIntf descriptors[1100];
    for (L2vpnDbTblIntf &descriptor : descriptors)
        descriptor = *intf_;
    const auto use_all = [&] {
        for (L2vpnDbTblIntf &descriptor : descriptors)
            EXPECT_EQ(count_with(descriptor), 0U);
    };
    use_all();
    const std::string changed = intf_->name;
    for (std::size_t i = 0; i < 1100; i += 10)
        descriptors[i].name = changed.c_str();
    use_all();
    const FirstUse first_use(other_table());
    auto calls = std::async(std::launch::async, use_all);
    EXPECT_EQ(calls.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    FirstUse::end();
}

// Descriptors at one address, as on a stack, are distinguished by name.
TEST_P(FreshStoreDescriptors, MayShareAnAddressWithOtherTables) {
    ASSERT_EQ(write(record(1)), 0U);
    L2vpnDbTblIntf descriptor = *intf_;
    EXPECT_EQ(count_with(descriptor), 1U);
    descriptor = *other_table().descriptor;
    EXPECT_EQ(count_with(descriptor), 0U);
    EXPECT_EQ(count_with(descriptor), 0U);
    descriptor = *intf_;
    EXPECT_EQ(count_with(descriptor), 1U);
}

// A descriptor with another table's record objects.
TEST_P(FreshStoreDescriptors, MayNotMixTables) {
    const Bytes before = record(1);
    ASSERT_EQ(write(before), 0U);
    static L2vpnDbTblIntf descriptor;
    descriptor = *intf_;
    descriptor.createObject = other_table().descriptor->createObject;
    descriptor.releaseObject = other_table().descriptor->releaseObject;
    const KeyRequest key(facts_.keys[0], before);
    Bytes caller = before;
    const L2vpnDbRecData request = record_request(caller);
    const L2vpnDbUpdData update{nullptr, 0, 0, table_.set_fields};
    EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_REQUEST,
                       [&] {
                           return DAL_VELD_Update(module_, &descriptor, &key.request, &request,
                                                  &update);
                       }),
              L2VPN_STORE_BAD_OBJECT);
    EXPECT_EQ(read(facts_.keys[0], before), packed(before));
}

TEST_P(FreshStoreDescriptors, NeedNoStatisticsEvenIfAllocationFails) {
    if (is_used(table_))
        GTEST_SKIP() << "the table has been used before";
    register_memory_service();
    static L2vpnDbTblIntf descriptor;
    descriptor = *intf_;
    descriptor.stat = nullptr;
    std::uint32_t result = 7;
    fail_allocations_after(0);
    EXPECT_EQ(DAL_VELD_Count(module_, &descriptor, &result), L2VPN_STORE_NO_MEMORY);
    EXPECT_EQ(result, 7U);
    EXPECT_EQ(counters(), Counters{});
}

} // namespace
} // namespace l2vpn::test
