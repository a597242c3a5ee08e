// SPDX-License-Identifier: MIT
// Tens of thousands of random calls on each table, compared with a plain model.
#include <algorithm>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class StoreModel : public StoreTest {
protected:
    [[nodiscard]] TestRecords pool(std::uint32_t records, TestRecords::Spread spread) const {
        return {facts_, records, spread};
    }

    /// Whether a secondary key has no member of the primary key, so that its chains are unbounded.
    [[nodiscard]] bool has_independent_key() const {
        const auto is_primary = [&](const Field &member) {
            return std::any_of(facts_.keys[0].members.begin(), facts_.keys[0].members.end(),
                               [&](const Field &other) { return other.id == member.id; });
        };
        return std::any_of(facts_.keys.begin() + 1, facts_.keys.end(), [&](const Key &key) {
            return std::none_of(key.members.begin(), key.members.end(), is_primary);
        });
    }
};
L2VPN_TEST_TYPED_TABLES(StoreModel,
                        [](const Facts &table) { return TestRecords::fits(table, 6000); });

TEST_P(StoreModel, PoolMatchesTheLibrarysPacking) {
    const TestRecords records = pool(500, TestRecords::Spread::even);
    for (std::uint32_t number = 0; number < records.size(); ++number) {
        const Bytes stored = records.make(number, 1);
        EXPECT_EQ(packed(unpacked(stored)), stored);
        EXPECT_EQ(records.number(stored), number);
        EXPECT_NE(records.make(number, 0), stored);
        for (const Key &key : facts_.keys)
            EXPECT_EQ(TestRecords::key_value(key, stored), packed_key(key, unpacked(stored)));
    }
}

TEST_P(StoreModel, FewRecordsInsertedAndDeletedOften) {
    const Counters before = counters();
    const TestRecords records = pool(40, TestRecords::Spread::even);
    RandomCalls calls(table_, records, {}, 1);
    for (const std::uint32_t growth : {50U, 80U, 15U, 50U})
        calls.play(4000, growth);
    calls.check_everything();
    calls.finish();
    expect_events(before, calls);
}

TEST_P(StoreModel, ManyRecordsThatSplitTheIndexes) {
    const Counters before = counters();
    const TestRecords records = pool(6000, TestRecords::Spread::even);
    RandomCalls calls(table_, records, {}, 2);
    calls.fill();
    calls.play(5000, 50);
    calls.check_everything();
    calls.play(15000, 10);
    calls.check_everything();
    calls.play(5000, 90);
    calls.finish();
    EXPECT_GE(calls.max_records(), 5000U);
    expect_events(before, calls);
}

TEST_P(StoreModel, ChainsOfThousands) {
    const Counters before = counters();
    const TestRecords records = pool(3000, TestRecords::Spread::skewed);
    RandomCalls calls(table_, records, {}, 3);
    calls.fill();
    calls.play(8000, 50);
    calls.check_everything();
    calls.play(5000, 5);
    calls.finish();
    if (has_independent_key()) {
        EXPECT_GE(calls.longest_chain(), 1000U);
    }
    expect_events(before, calls);
}

} // namespace
} // namespace l2vpn::test
