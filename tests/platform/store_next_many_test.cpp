// SPDX-License-Identifier: MIT
// An iterator's next records in one call: as many calls of GetNext deliver the same.
#include <algorithm>
#include <set>
#include <thread>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

constexpr std::uint32_t pool_size = 1200;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

class StoreNextMany : public StoreTest {
protected:
    void SetUp() override {
        for (std::uint32_t number = 0; number < pool_size; number += 2)
            ASSERT_EQ(raw_write(pool_.make(number, 0)), 0U);
    }

    struct Delivered {
        std::uint32_t code;
        std::vector<Bytes> records;
    };

    /// Up to `capacity` records. No byte after them may be touched.
    Delivered next_many(L2vpnDbIter *iterator, std::uint32_t capacity) const {
        const std::size_t length = facts_.stored_size;
        Bytes buffer((capacity + 1) * length, 0xA5);
        const L2vpnDbRecData first{buffer.data(), facts_.stored_size, 0};
        std::uint32_t delivered = 77;
        const std::uint32_t code =
            L2VPN_STORE_NextMany(module_, intf_, iterator, &first, capacity, &delivered);
        EXPECT_LE(delivered, capacity);
        EXPECT_TRUE(std::all_of(buffer.begin() + static_cast<std::ptrdiff_t>(delivered * length),
                                buffer.end(), [](std::uint8_t byte) { return byte == 0xA5; }));
        Delivered result{code, {}};
        for (std::uint32_t i = 0; i < delivered; ++i) {
            const auto at = buffer.begin() + static_cast<std::ptrdiff_t>(i * length);
            result.records.emplace_back(at, at + static_cast<std::ptrdiff_t>(length));
        }
        return result;
    }

    /// Delivers all remaining records of the iterator, in batches, and releases it.
    [[nodiscard]] std::vector<Bytes> rest_in_batches(L2vpnDbIter *iterator,
                                                     std::uint32_t capacity) const {
        std::vector<Bytes> records;
        for (;;) {
            const Delivered some = next_many(iterator, capacity);
            if (some.code != 0) {
                EXPECT_EQ(some.code, L2VPN_STORE_END);
                EXPECT_TRUE(some.records.empty());
                break;
            }
            EXPECT_FALSE(some.records.empty());
            records.insert(records.end(), some.records.begin(), some.records.end());
        }
        EXPECT_EQ(release(iterator), 0U);
        return records;
    }

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::even};
};
L2VPN_TEST_TYPED_TABLES(StoreNextMany, has_pool);

TEST_P(StoreNextMany, DeliversTheSameInTheSameOrder) {
    const std::vector<Bytes> all = rest_of(open());
    EXPECT_EQ(all.size(), pool_size / 2);
    const auto records = static_cast<std::uint32_t>(all.size());
    for (const std::uint32_t capacity : {1U, 2U, 7U, 64U, records - 1, records, records + 1, 5000U})
        EXPECT_EQ(rest_in_batches(open(), capacity), all) << capacity;
    for (const Key &key : facts_.keys) {
        const Bytes of = unpacked(pool_.make(0, 0));
        const std::vector<Bytes> chain = rest_of(open(key, of));
        for (const std::uint32_t capacity : {1U, 3U, 64U, 5000U})
            EXPECT_EQ(rest_in_batches(open(key, of), capacity), chain) << key.name;
        EXPECT_EQ(rest_in_batches(open(key, unpacked(pool_.make(1, 6))), 4),
                  rest_of(open(key, unpacked(pool_.make(1, 6)))));
    }
}

TEST_P(StoreNextMany, MixesWithSingleSteps) {
    const std::vector<Bytes> all = rest_of(open());
    L2vpnDbIter *const iterator = open();
    std::vector<Bytes> delivered;
    for (std::uint32_t turn = 0;; ++turn) {
        if (const std::optional<Bytes> one = next(iterator)) {
            delivered.push_back(*one);
        } else {
            break;
        }
        const Delivered some = next_many(iterator, turn % 9 + 1);
        delivered.insert(delivered.end(), some.records.begin(), some.records.end());
    }
    EXPECT_EQ(delivered, all);
    EXPECT_EQ(next_many(iterator, 3).code, L2VPN_STORE_END);
    EXPECT_EQ(release(iterator), 0U);
}

TEST_P(StoreNextMany, CountsEachRecord) {
    L2vpnDbIter *const iterator = open();
    const Counters before = counters();
    EXPECT_EQ(next_many(iterator, 10).records.size(), 10U);
    Counters expected = before;
    expected[L2VPN_STORE_STAT_DELIVERED] += 10;
    EXPECT_EQ(counters(), expected);
    EXPECT_EQ(rest_of(iterator).size(), pool_size / 2 - 10);
    L2vpnDbIter *const ended = open(facts_.keys[0], unpacked(pool_.make(1, 0)));
    EXPECT_EQ(counting(L2VPN_STORE_STAT_ITER_ENDED, [&] { return next_many(ended, 5).code; }),
              L2VPN_STORE_END);
    EXPECT_EQ(release(ended), 0U);
}

TEST_P(StoreNextMany, ZeroCapacity) {
    L2vpnDbIter *const iterator = open();
    const Delivered none = next_many(iterator, 0);
    EXPECT_EQ(none.code, 0U);
    EXPECT_TRUE(none.records.empty());
    EXPECT_EQ(rest_of(iterator).size(), pool_size / 2) << "the call moved the iterator";
}

TEST_P(StoreNextMany, StaysEnded) {
    L2vpnDbIter *const iterator = open();
    EXPECT_EQ(next_many(iterator, pool_size).records.size(), pool_size / 2);
    EXPECT_EQ(next_many(iterator, pool_size).code, L2VPN_STORE_END);
    EXPECT_EQ(raw_write(pool_.make(1, 0)), 0U);
    EXPECT_EQ(next_many(iterator, pool_size).code, L2VPN_STORE_END);
    EXPECT_EQ(release(iterator), 0U);
}

TEST_P(StoreNextMany, BadHandles) {
    const TypedTable &other = typed_tables[&table_ == &typed_tables[0] ? 1 : 0];
    L2vpnDbIter *const foreign = DAL_VELD_CreateIterator(module_, other.descriptor);
    L2vpnDbIter *const released = open();
    EXPECT_EQ(release(released), 0U);
    for (L2vpnDbIter *const handle : {static_cast<L2vpnDbIter *>(nullptr), foreign, released,
                                      static_cast<L2vpnDbIter *>(table_.control_block)}) {
        const Delivered none =
            counting(L2VPN_STORE_STAT_BAD_ITERATOR, [&] { return next_many(handle, 3); });
        EXPECT_EQ(none.code, L2VPN_STORE_BAD_ITERATOR);
        EXPECT_TRUE(none.records.empty());
    }
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, other.descriptor, foreign), 0U);
}

TEST_P(StoreNextMany, InvalidRequests) {
    L2vpnDbIter *const iterator = open();
    Bytes buffer(facts_.stored_size * 4, 0xA5);
    const L2vpnDbRecData good{buffer.data(), facts_.stored_size, 0};
    std::uint32_t delivered = 0;
    const auto rejected = [&](const L2vpnDbRecData *first, std::uint32_t *result,
                              std::uint32_t code) {
        delivered = result != nullptr ? 77 : 0;
        EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_REQUEST,
                           [&] {
                               return L2VPN_STORE_NextMany(module_, intf_, iterator, first, 2,
                                                           result);
                           }),
                  code);
        EXPECT_EQ(delivered, 0U);
    };
    const L2vpnDbRecData no_data{nullptr, facts_.stored_size, 0};
    rejected(nullptr, &delivered, L2VPN_STORE_NULL_POINTER);
    rejected(&no_data, &delivered, L2VPN_STORE_NULL_POINTER);
    rejected(&good, nullptr, L2VPN_STORE_NULL_POINTER);
    for (const std::uint32_t length :
         {0U, facts_.stored_size - 1, facts_.stored_size + 1, 2 * facts_.stored_size}) {
        const L2vpnDbRecData bad{buffer.data(), length, 0};
        rejected(&bad, &delivered, L2VPN_STORE_BAD_LENGTH);
    }
    L2vpnDbTblIntf unknown = *intf_;
    unknown.name = "l2vpn_none";
    EXPECT_EQ(L2VPN_STORE_NextMany(module_, &unknown, iterator, &good, 2, &delivered),
              L2VPN_STORE_UNKNOWN_TABLE);
    EXPECT_EQ(buffer, Bytes(buffer.size(), 0xA5));
    EXPECT_EQ(rest_of(iterator).size(), pool_size / 2) << "a rejected call moved the iterator";
}

// Several threads share an iterator: each record goes to one of them.
TEST_P(StoreNextMany, SharedByThreads) {
    L2vpnDbIter *const iterator = open();
    std::vector<std::vector<Bytes>> delivered(4);
    std::vector<std::jthread> threads;
    for (std::uint32_t thread = 0; thread < delivered.size(); ++thread)
        threads.emplace_back([&, thread] {
            for (;;) {
                const Delivered some = next_many(iterator, thread + 1);
                if (some.records.empty())
                    return;
                delivered[thread].insert(delivered[thread].end(), some.records.begin(),
                                         some.records.end());
            }
        });
    threads.clear();
    std::set<Bytes> all;
    std::size_t sum = 0;
    for (const std::vector<Bytes> &some : delivered) {
        sum += some.size();
        all.insert(some.begin(), some.end());
    }
    EXPECT_EQ(sum, pool_size / 2);
    EXPECT_EQ(all.size(), pool_size / 2);
    EXPECT_EQ(release(iterator), 0U);
}

// Records come and go: those that stay are delivered once, and whole.
TEST_P(StoreNextMany, BesideAWriter) {
    std::jthread writer([&](const std::stop_token &stop) {
        for (std::uint32_t i = 0; !stop.stop_requested(); ++i) {
            const std::uint32_t odd = i % (pool_size / 2) * 2 + 1;
            EXPECT_EQ(raw_write(pool_.make(odd, 0)), 0U);
            EXPECT_EQ(raw_write(pool_.make(i % 50 * 2, i / 50 % TestRecords::versions)), 0U);
            EXPECT_EQ(raw_remove(pool_.make(odd, 0)), 0U);
        }
    });
    for (std::uint32_t round = 0; round < 10; ++round) {
        L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
        std::set<std::uint32_t> seen;
        for (;;) {
            const Delivered some = next_many(iterator, 50);
            if (some.records.empty())
                break;
            for (const Bytes &stored : some.records) {
                const auto number = pool_.number(stored);
                ASSERT_TRUE(number);
                EXPECT_TRUE(pool_.is_whole(*number, stored));
                EXPECT_TRUE(seen.insert(*number).second) << "delivered twice";
            }
        }
        for (std::uint32_t number = 0; number < pool_size; number += 2)
            EXPECT_TRUE(seen.contains(number)) << number;
        EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
    }
}

} // namespace
} // namespace l2vpn::test
