// SPDX-License-Identifier: MIT
// Conditional writes: the record is written only if the stored one is the expected one.
#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

constexpr std::uint32_t pool_size = 1200;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

class StoreWriteIf : public StoreTest {
protected:
    std::uint32_t write_if(std::optional<Bytes> expected, Bytes stored) const {
        L2vpnDbRecData condition{};
        if (expected)
            condition = record_request(*expected);
        const L2vpnDbRecData request = record_request(stored);
        return L2VPN_STORE_WriteIf(module_, intf_, expected ? &condition : nullptr, &request);
    }
    std::uint32_t counted_write_if(L2vpnStoreStat event, const std::optional<Bytes> &expected,
                                   const Bytes &stored) const {
        return counting(event, [&] { return write_if(expected, stored); });
    }

    /// Expects the table to hold this record only, under all its keys.
    void expect_only(const Bytes &stored) const {
        EXPECT_EQ(raw_count(), 1U);
        for (const Key &key : facts_.keys) {
            EXPECT_EQ(raw_read(key, stored), stored) << key.name;
            EXPECT_EQ(count(key, unpacked(stored)), 1U) << key.name;
        }
    }

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::distinct};
    const Bytes old_ = pool_.make(0, 0);
    const Bytes new_ = pool_.make(0, 2);
};
L2VPN_TEST_TYPED_TABLES(StoreWriteIf, has_pool);

TEST_P(StoreWriteIf, InsertsIfNoneIsExpected) {
    EXPECT_EQ(counted_write_if(L2VPN_STORE_STAT_INSERTED, std::nullopt, old_), 0U);
    expect_only(old_);
    for (const Bytes &stored : {old_, new_})
        EXPECT_EQ(counted_write_if(L2VPN_STORE_STAT_UPDATE_REFUSED, std::nullopt, stored),
                  L2VPN_STORE_CONFLICT);
    expect_only(old_);
    EXPECT_EQ(raw_remove(old_), 0U);
    EXPECT_EQ(counted_write_if(L2VPN_STORE_STAT_INSERTED, std::nullopt, new_), 0U);
    expect_only(new_);
}

TEST_P(StoreWriteIf, ReplacesTheExpectedRecord) {
    ASSERT_EQ(raw_write(old_), 0U);
    EXPECT_EQ(counted_write_if(L2VPN_STORE_STAT_REPLACED, old_, new_), 0U);
    expect_only(new_);
    EXPECT_EQ(counted_write_if(L2VPN_STORE_STAT_UPDATE_REFUSED, old_, new_), L2VPN_STORE_CONFLICT);
    EXPECT_EQ(counted_write_if(L2VPN_STORE_STAT_REPLACED, new_, new_), 0U) << "the same record";
    expect_only(new_);
}

TEST_P(StoreWriteIf, ComparesEveryByte) {
    ASSERT_EQ(raw_write(old_), 0U);
    for (std::size_t at = 0; at < old_.size(); ++at)
        for (const std::uint8_t bit : {std::uint8_t{1}, std::uint8_t{0x80}}) {
            Bytes expected = old_;
            expected[at] ^= bit;
            ASSERT_EQ(write_if(expected, new_), L2VPN_STORE_CONFLICT) << "byte " << at;
        }
    expect_only(old_);
}

TEST_P(StoreWriteIf, ExpectedRecordIsAbsent) {
    ASSERT_EQ(raw_write(pool_.make(1, 0)), 0U);
    EXPECT_EQ(counted_write_if(L2VPN_STORE_STAT_UPDATE_REFUSED, old_, new_), L2VPN_STORE_CONFLICT);
    // The table holds the expected record, but not under the primary key of the new one.
    EXPECT_EQ(counted_write_if(L2VPN_STORE_STAT_UPDATE_REFUSED, pool_.make(1, 0), new_),
              L2VPN_STORE_CONFLICT);
    expect_only(pool_.make(1, 0));
}

TEST_P(StoreWriteIf, ExpectedRecordOfAnotherPrimaryKey) {
    ASSERT_EQ(raw_write(old_), 0U);
    ASSERT_EQ(raw_write(pool_.make(1, 0)), 0U);
    EXPECT_EQ(write_if(pool_.make(1, 0), new_), L2VPN_STORE_CONFLICT);
    EXPECT_EQ(raw_read(facts_.keys[0], old_), old_);
    EXPECT_EQ(raw_read(facts_.keys[0], pool_.make(1, 0)), pool_.make(1, 0));
}

TEST_P(StoreWriteIf, OneBufferForBoth) {
    ASSERT_EQ(raw_write(old_), 0U);
    Bytes stored = old_;
    const L2vpnDbRecData request = record_request(stored);
    EXPECT_EQ(L2VPN_STORE_WriteIf(module_, intf_, &request, &request), 0U);
    expect_only(old_);
}

TEST_P(StoreWriteIf, InvalidRequests) {
    ASSERT_EQ(raw_write(old_), 0U);
    Bytes stored = new_;
    Bytes expected = old_;
    expected.resize(old_.size() + 8);
    const L2vpnDbRecData good = record_request(stored);
    const L2vpnDbRecData held{expected.data(), facts_.stored_size, 0};
    const auto rejected = [&](const L2vpnDbRecData *condition, const L2vpnDbRecData *request,
                              std::uint32_t code) {
        EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_REQUEST,
                           [&] { return L2VPN_STORE_WriteIf(module_, intf_, condition, request); }),
                  code);
    };
    const L2vpnDbRecData no_data{nullptr, facts_.stored_size, 0};
    rejected(&held, nullptr, L2VPN_STORE_NULL_POINTER);
    rejected(nullptr, nullptr, L2VPN_STORE_NULL_POINTER);
    rejected(&held, &no_data, L2VPN_STORE_NULL_POINTER);
    rejected(&no_data, &good, L2VPN_STORE_NULL_POINTER);
    for (const std::uint32_t length :
         {0U, facts_.stored_size - 1, facts_.stored_size + 1, UINT32_MAX}) {
        const L2vpnDbRecData bad{expected.data(), length, 0};
        rejected(&bad, &good, L2VPN_STORE_BAD_LENGTH);
        rejected(&held, &bad, L2VPN_STORE_BAD_LENGTH);
    }
    L2vpnDbTblIntf unknown = *intf_;
    unknown.name = "l2vpn_none";
    EXPECT_EQ(L2VPN_STORE_WriteIf(module_, &unknown, &held, &good), L2VPN_STORE_UNKNOWN_TABLE);
    EXPECT_EQ(L2VPN_STORE_WriteIf(module_, nullptr, &held, &good), L2VPN_STORE_UNKNOWN_TABLE);
    expect_only(old_);
}

TEST_P(StoreWriteIf, ChangedKeysMoveInTheIterators) {
    ASSERT_EQ(raw_write(old_), 0U);
    L2vpnDbIter *const whole = open();
    std::vector<L2vpnDbIter *> of_old_values;
    for (const Key &key : facts_.keys)
        of_old_values.push_back(open(key, unpacked(old_)));
    EXPECT_EQ(write_if(old_, new_), 0U);
    EXPECT_EQ(rest_of(whole), std::vector<Bytes>{new_});
    for (std::size_t k = 0; k < facts_.keys.size(); ++k) {
        const Key &key = facts_.keys[k];
        const bool same = TestRecords::key_value(key, old_) == TestRecords::key_value(key, new_);
        EXPECT_EQ(rest_of(of_old_values[k]).size(), same ? 1U : 0U);
        EXPECT_EQ(raw_read(key, new_), new_);
    }
}

TEST_P(StoreWriteIf, AllocationsMayFail) {
    register_memory_service();
    std::uint32_t rejected = 0;
    std::uint32_t written = 0;
    for (; rejected < 3 && written < pool_size; ++written) {
        const Bytes stored = pool_.make(written, 0);
        fail_allocations_after(0);
        const std::uint32_t code = write_if(std::nullopt, stored);
        stop_failing_allocations();
        if (code == 0)
            continue;
        ++rejected;
        EXPECT_EQ(code, L2VPN_STORE_NO_MEMORY);
        EXPECT_EQ(raw_read(facts_.keys[0], stored), std::nullopt);
        EXPECT_EQ(write_if(std::nullopt, stored), 0U);
    }
    EXPECT_EQ(raw_count(), written);
    for (std::uint32_t i = 0; i < written; ++i)
        EXPECT_EQ(raw_read(facts_.keys[0], pool_.make(i, 0)), pool_.make(i, 0));
}

/// Where to count: the first four bytes of a field outside all keys, at least as wide.
std::optional<std::size_t> counter_offset(const Facts &table) {
    for (const Field &field : table.fields) {
        const auto is_field = [&](const Field &member) { return member.id == field.id; };
        const auto has_field = [&](const Key &key) {
            return std::ranges::any_of(key.members, is_field);
        };
        if (field.width >= sizeof(std::uint32_t) && std::ranges::none_of(table.keys, has_field))
            return field.stored_offset;
    }
    return std::nullopt;
}
bool has_counter(const Facts &table) {
    return has_pool(table) && counter_offset(table).has_value();
}

class StoreWriteIfCounter : public StoreWriteIf {};
L2VPN_TEST_TYPED_TABLES(StoreWriteIfCounter, has_counter);

// Four threads increment a counter in one record: no increment is lost.
TEST_P(StoreWriteIfCounter, ConcurrentIncrementsAddUp) {
    constexpr std::uint32_t thread_count = 4;
    constexpr std::uint32_t increments = 500;
    const std::size_t at = *counter_offset(facts_);
    Bytes zero = old_;
    std::fill_n(zero.begin() + static_cast<std::ptrdiff_t>(at), sizeof(std::uint32_t),
                std::uint8_t{0});
    std::atomic<std::uint32_t> inserted = 0;
    std::vector<std::jthread> threads;
    for (std::uint32_t thread = 0; thread < thread_count; ++thread)
        threads.emplace_back([&] {
            inserted += write_if(std::nullopt, zero) == 0 ? 1 : 0;
            for (std::uint32_t i = 0; i < increments;) {
                const std::optional<Bytes> found = raw_read(facts_.keys[0], zero);
                ASSERT_TRUE(found);
                Bytes next = *found;
                std::uint32_t value = 0;
                std::memcpy(&value, next.data() + at, sizeof value);
                ++value;
                std::memcpy(next.data() + at, &value, sizeof value);
                const std::uint32_t code = write_if(found, next);
                ASSERT_TRUE(code == 0 || code == L2VPN_STORE_CONFLICT) << code;
                i += code == 0 ? 1 : 0;
            }
        });
    threads.clear();
    EXPECT_EQ(inserted, 1U) << "one thread inserts the record";
    std::uint32_t sum = 0;
    const std::optional<Bytes> found = raw_read(facts_.keys[0], zero);
    ASSERT_TRUE(found);
    std::memcpy(&sum, found->data() + at, sizeof sum);
    EXPECT_EQ(sum, thread_count * increments);
}

} // namespace
} // namespace l2vpn::test
