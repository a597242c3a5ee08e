// SPDX-License-Identifier: MIT
// The cost of calls, in instructions, does not grow with open iterators or deleted records that
// they do not concern.
#include <algorithm>

#include "tests/platform/store_test.h"
#include "tests/support/instruction_count.h"

// Sanitizers handle the signal themselves.
#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#if !defined(__clang__)

namespace l2vpn::test {
namespace {

constexpr std::uint32_t pool_size = 20'000;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

/// Whether it is the first table with the fewest keys, or with the most.
bool is_extreme(const Facts &table) {
    const auto keys = [](const TypedTable *candidate) {
        return facts(candidate->name).keys.size();
    };
    const std::vector<const TypedTable *> tables = tables_with(typed_tables, has_pool);
    const auto [fewest, most] = std::ranges::minmax_element(tables, {}, keys);
    return table.name == (*fewest)->name || table.name == (*most)->name;
}

class StoreCost : public StoreTest {
protected:
    /// The instructions of the first call that allocates nothing, so of the second one.
    [[nodiscard]] std::uint64_t cost_of_delete(std::uint32_t number) const {
        const Bytes stored = pool_.make(number, 0);
        EXPECT_EQ(raw_write(stored), 0U);
        EXPECT_EQ(raw_remove(stored), 0U);
        EXPECT_EQ(raw_write(stored), 0U);
        const KeyRequest key(facts_.keys[0], pool_.primary(number), KeyRequest::Value{});
        std::uint32_t code = 77;
        const std::uint64_t cost =
            instructions_of([&] { code = DAL_VELD_Delete(module_, intf_, &key.request); });
        EXPECT_EQ(code, 0U);
        return cost;
    }
    [[nodiscard]] L2vpnDbIter *open_over(const Key &key, const Bytes &of) const {
        const KeyRequest selected(key, TestRecords::key_value(key, of), KeyRequest::Value{});
        return DAL_VELD_CreateIteratorByKey(module_, intf_, &selected.request);
    }

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::distinct};
};
L2VPN_TEST_TYPED_TABLES(StoreCost, is_extreme);

TEST_P(StoreCost, OfADeleteBesideOpenIterators) {
    constexpr std::uint32_t few = 10;
    constexpr std::uint32_t many = 5000;
    for (std::uint32_t i = 1; i < many; ++i)
        ASSERT_EQ(raw_write(pool_.make(i, 0)), 0U);
    std::vector<L2vpnDbIter *> iterators;
    const auto open_until = [&](std::uint32_t count) {
        for (auto i = static_cast<std::uint32_t>(iterators.size()); i < count; ++i)
            iterators.push_back(
                open_over(facts_.keys[i % facts_.keys.size()], pool_.make(i + 1, 0)));
    };
    open_until(few);
    const std::uint64_t beside_few = cost_of_delete(0);
    open_until(many);
    // Several records, as some share a group with an iterator over another value.
    std::vector<std::uint64_t> beside_many;
    for (std::uint32_t i = 0; i < 3; ++i)
        beside_many.push_back(cost_of_delete(many + 10 + i));
    std::ranges::sort(beside_many);
    // The hash keys are random, and with them the number of entries that a search compares.
    EXPECT_LT(beside_many[1], 2 * beside_few);
    EXPECT_LT(beside_many.back(), 4 * beside_few);
    for (L2vpnDbIter *const iterator : iterators)
        EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
}

TEST_P(StoreCost, OfADeleteBesideEndedIterators) {
    const Bytes stored = pool_.make(0, 0);
    const std::uint64_t alone = cost_of_delete(0);
    ASSERT_EQ(raw_write(stored), 0U);
    std::vector<L2vpnDbIter *> iterators;
    Bytes buffer(facts_.stored_size);
    L2vpnDbRecData request = record_request(buffer);
    for (std::uint32_t i = 0; i < 2000; ++i) {
        iterators.push_back(open_over(facts_.keys[i % facts_.keys.size()], stored));
        while (DAL_VELD_GetNextEntry(module_, intf_, iterators.back(), &request) == 0) {
        }
    }
    EXPECT_LT(cost_of_delete(0), 2 * alone);
    for (L2vpnDbIter *const iterator : iterators)
        EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
}

TEST_P(StoreCost, OfAStepOverDeletedRecords) {
    const auto write_and_delete = [&](std::uint32_t records) {
        for (std::uint32_t i = 0; i < records; ++i)
            ASSERT_EQ(raw_write(pool_.make(i, 0)), 0U);
        for (std::uint32_t i = 0; i < records; ++i)
            ASSERT_EQ(raw_remove(pool_.make(i, 0)), 0U);
    };
    Bytes buffer(facts_.stored_size);
    L2vpnDbRecData request = record_request(buffer);
    const auto cost_of_a_walk = [&] {
        L2vpnDbIter *const iterator = open();
        std::uint32_t code = 77;
        const std::uint64_t cost = instructions_of(
            [&] { code = DAL_VELD_GetNextEntry(module_, intf_, iterator, &request); });
        EXPECT_EQ(code, L2VPN_STORE_END);
        EXPECT_EQ(release(iterator), 0U);
        return cost;
    };
    cost_of_a_walk();
    const std::uint64_t of_few = cost_of_a_walk();
    write_and_delete(pool_size);
    // Less than an instruction per record: the bits of many share a word.
    EXPECT_LT(cost_of_a_walk(), of_few + pool_size);
    // Deletes during the iteration.
    for (std::uint32_t i = 0; i < pool_size; ++i)
        ASSERT_EQ(raw_write(pool_.make(i, 0)), 0U);
    L2vpnDbIter *const iterator = open();
    for (std::uint32_t i = 0; i < pool_size; ++i)
        ASSERT_EQ(raw_remove(pool_.make(i, 0)), 0U);
    std::uint32_t code = 77;
    const std::uint64_t cost =
        instructions_of([&] { code = DAL_VELD_GetNextEntry(module_, intf_, iterator, &request); });
    EXPECT_EQ(code, L2VPN_STORE_END);
    EXPECT_LT(cost, of_few + pool_size);
    EXPECT_EQ(release(iterator), 0U);
}

} // namespace
} // namespace l2vpn::test

#endif
#endif
