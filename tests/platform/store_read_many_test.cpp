// SPDX-License-Identifier: MIT
// Reads of many records in one call: each is like a read of its own.
#include <algorithm>
#include <deque>
#include <thread>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

constexpr std::uint32_t pool_size = 1200;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

/// The requests of one call, and its buffers.
class Batch {
public:
    explicit Batch(const Facts &table) : table_(table) {}

    void add(const Key &key, const Bytes &of) {
        requests_.emplace_back(key, TestRecords::key_value(key, of), KeyRequest::Value{});
        buffers_.emplace_back(table_.stored_size + guard, 0xA5);
        keys.push_back(requests_.back().request);
        records.push_back({buffers_.back().data(), table_.stored_size, 0});
        codes.push_back(77);
    }
    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(keys.size()); }
    std::uint32_t read(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *intf) {
        return L2VPN_STORE_ReadMany(module, intf, keys.data(), records.data(), size(),
                                    codes.data());
    }
    /// The contents of a buffer; nullopt if it is untouched. No byte after it may be touched.
    [[nodiscard]] std::optional<Bytes> contents(std::size_t n) const {
        const Bytes &buffer = buffers_[n];
        EXPECT_TRUE(std::all_of(buffer.end() - guard, buffer.end(),
                                [](std::uint8_t byte) { return byte == 0xA5; }));
        if (std::ranges::count(buffer, 0xA5) == static_cast<std::ptrdiff_t>(buffer.size()))
            return std::nullopt;
        return Bytes(buffer.begin(), buffer.end() - guard);
    }

    std::vector<L2vpnDbKeyData> keys;
    std::vector<L2vpnDbRecData> records;
    std::vector<std::uint32_t> codes;

private:
    static constexpr std::ptrdiff_t guard = 8;

    const Facts &table_;
    std::deque<KeyRequest> requests_;
    std::deque<Bytes> buffers_;
};

class StoreReadMany : public StoreTest {
protected:
    void SetUp() override {
        for (std::uint32_t number = 0; number < pool_size; number += 2)
            ASSERT_EQ(raw_write(pool_.make(number, 0)), 0U);
    }

    [[nodiscard]] Counters events_since(const Counters &before) const {
        Counters events = counters();
        for (std::size_t event = 0; event < events.size(); ++event)
            events[event] -= before[event];
        return events;
    }

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::even};
};
L2VPN_TEST_TYPED_TABLES(StoreReadMany, has_pool);

// Any number of records, any mix of keys, found or not, the same one several times.
TEST_P(StoreReadMany, IsLikeSingleReads) {
    std::mt19937 random(3);
    for (const std::uint32_t size : {1U, 2U, 3U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 33U, 64U, 500U}) {
        Batch batch(facts_);
        std::vector<std::optional<Bytes>> expected;
        Counters events{};
        for (std::uint32_t i = 0; i < size; ++i) {
            const Key &key = facts_.keys[random() % 3 == 0 ? random() % facts_.keys.size() : 0];
            const Bytes of = pool_.make(static_cast<std::uint32_t>(random() % pool_size),
                                        static_cast<std::uint32_t>(random() % 4));
            batch.add(key, of);
            expected.push_back(raw_read(key, of));
            const std::uint32_t event =
                key.index == 0 ? L2VPN_STORE_STAT_READ : L2VPN_STORE_STAT_KEY_READ;
            ++events[event + (expected.back() ? 0U : 1U)];
        }
        const Counters before = counters();
        const bool all = std::ranges::all_of(expected, &std::optional<Bytes>::has_value);
        EXPECT_EQ(batch.read(module_, intf_), all ? 0U : L2VPN_STORE_NOT_FOUND);
        EXPECT_EQ(events_since(before), events);
        for (std::uint32_t i = 0; i < size; ++i) {
            EXPECT_EQ(batch.codes[i], expected[i] ? 0U : L2VPN_STORE_NOT_FOUND) << i;
            EXPECT_EQ(batch.contents(i), expected[i]) << i;
        }
        // Without codes.
        EXPECT_EQ(L2VPN_STORE_ReadMany(module_, intf_, batch.keys.data(), batch.records.data(),
                                       size, nullptr),
                  all ? 0U : L2VPN_STORE_NOT_FOUND);
    }
}

TEST_P(StoreReadMany, OfZeroRecords) {
    const Counters before = counters();
    EXPECT_EQ(L2VPN_STORE_ReadMany(module_, intf_, nullptr, nullptr, 0, nullptr), 0U);
    EXPECT_EQ(events_since(before), Counters{});
}

// Each invalid request is rejected by itself; the others are read.
TEST_P(StoreReadMany, InvalidRequestsAmongOthers) {
    Batch batch(facts_);
    const Key &key = facts_.keys[0];
    const Bytes held = pool_.make(0, 0);
    std::vector<std::uint32_t> expected;
    Counters events{};
    const auto add = [&](std::uint32_t code, L2vpnStoreStat event) {
        batch.add(key, held);
        expected.push_back(code);
        ++events[event];
    };
    const auto add_good = [&] { add(0, L2VPN_STORE_STAT_READ); };
    std::vector<std::array<std::uint32_t, 4>> ids(2);
    add_good();
    add(L2VPN_STORE_NULL_POINTER, L2VPN_STORE_STAT_BAD_KEY);
    batch.keys.back().keyId = nullptr;
    add(L2VPN_STORE_NULL_POINTER, L2VPN_STORE_STAT_BAD_KEY);
    batch.keys.back().key = nullptr;
    add_good();
    add(L2VPN_STORE_BAD_KEY_AREA, L2VPN_STORE_STAT_BAD_KEY);
    batch.keys.back().keyIdLength = 15;
    add(L2VPN_STORE_UNKNOWN_KEY, L2VPN_STORE_STAT_BAD_KEY);
    ids[0][0] = static_cast<std::uint32_t>(facts_.keys.size()) << 24 | 9U << 16 | key.length;
    batch.keys.back().keyId = ids[0].data();
    add(L2VPN_STORE_BAD_KEY_FLAGS, L2VPN_STORE_STAT_BAD_KEY);
    ids[1][0] = key.word ^ 0x20000;
    batch.keys.back().keyId = ids[1].data();
    add(L2VPN_STORE_BAD_KEY_LENGTH, L2VPN_STORE_STAT_BAD_KEY);
    ++batch.keys.back().keyLength;
    add(L2VPN_STORE_NULL_POINTER, L2VPN_STORE_STAT_BAD_REQUEST);
    batch.records.back().data = nullptr;
    add(L2VPN_STORE_BAD_LENGTH, L2VPN_STORE_STAT_BAD_REQUEST);
    --batch.records.back().length;
    add_good();
    // A null pointer in a key request counts as one in any other request.
    events[L2VPN_STORE_STAT_BAD_REQUEST] += 2;
    events[L2VPN_STORE_STAT_BAD_KEY] -= 2;

    const Counters before = counters();
    EXPECT_EQ(batch.read(module_, intf_), L2VPN_STORE_NULL_POINTER) << "the first error";
    EXPECT_EQ(batch.codes, expected);
    EXPECT_EQ(events_since(before), events);
    for (std::uint32_t i = 0; i < batch.size(); ++i)
        EXPECT_EQ(batch.contents(i), expected[i] == 0 ? std::optional(held) : std::nullopt) << i;
}

TEST_P(StoreReadMany, NullArrays) {
    Batch batch(facts_);
    batch.add(facts_.keys[0], pool_.make(0, 0));
    EXPECT_EQ(L2VPN_STORE_ReadMany(module_, intf_, nullptr, batch.records.data(), 1, nullptr),
              L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(L2VPN_STORE_ReadMany(module_, intf_, batch.keys.data(), nullptr, 1,
                                   batch.codes.data()),
              L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(batch.codes[0], L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(batch.contents(0), std::nullopt);
}

TEST_P(StoreReadMany, UnknownTable) {
    Batch batch(facts_);
    batch.add(facts_.keys[0], pool_.make(0, 0));
    L2vpnDbTblIntf unknown = *intf_;
    unknown.name = "l2vpn_none";
    EXPECT_EQ(batch.read(module_, &unknown), L2VPN_STORE_UNKNOWN_TABLE);
    EXPECT_EQ(batch.codes[0], L2VPN_STORE_UNKNOWN_TABLE);
    EXPECT_EQ(batch.read(module_, nullptr), L2VPN_STORE_UNKNOWN_TABLE);
    EXPECT_EQ(batch.contents(0), std::nullopt);
}

// Records are replaced, deleted and written again while others are read: none is torn.
TEST_P(StoreReadMany, BesideAWriter) {
    std::jthread writer([&](const std::stop_token &stop) {
        for (std::uint32_t i = 0; !stop.stop_requested(); ++i) {
            EXPECT_EQ(raw_write(pool_.make(i % 20 * 2, i / 20 % 2)), 0U); // differ in no key
            EXPECT_EQ(raw_write(pool_.make(1, i % TestRecords::versions)), 0U);
            EXPECT_EQ(raw_remove(pool_.make(1, 0)), 0U);
        }
    });
    for (std::uint32_t round = 0; round < 300; ++round) {
        Batch batch(facts_);
        for (std::uint32_t i = 0; i < 60; ++i)
            batch.add(facts_.keys[0], pool_.make(i, 0));
        batch.read(module_, intf_);
        for (std::uint32_t i = 0; i < 60; ++i) {
            const auto contents = batch.contents(i);
            EXPECT_TRUE(i == 1 || batch.codes[i] == (i % 2 == 0 ? 0U : L2VPN_STORE_NOT_FOUND)) << i;
            if (batch.codes[i] == 0) {
                ASSERT_TRUE(contents) << i;
                EXPECT_TRUE(pool_.is_whole(i, *contents)) << i;
            }
        }
    }
}

} // namespace
} // namespace l2vpn::test
