// SPDX-License-Identifier: MIT
// Malformed requests are refused with the right code and event, and change nothing.
#include <functional>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

std::uint32_t keep(const L2vpnDbRecData *, L2vpnDbRecObj *, const std::uint32_t *, std::uint32_t) {
    return 0;
}

class StoreRequests : public StoreTest {
protected:
    void SetUp() override { ASSERT_EQ(write(held_), 0U); }

    void TearDown() override {
        EXPECT_EQ(count(), 1U);
        EXPECT_EQ(read(facts_.keys[0], held_), packed(held_));
        StoreTest::TearDown();
    }

    /// Every operation that takes a key, with the given key request.
    void expect_key_refused(const L2vpnDbKeyData *key, std::uint32_t code, bool one_record_only) {
        const auto event =
            code == L2VPN_STORE_BAD_KEY ? L2VPN_STORE_STAT_BAD_KEY : L2VPN_STORE_STAT_BAD_REQUEST;
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData record = record_request(buffer);
        std::uint32_t count = 77;
        const auto refused = [&](auto call) { EXPECT_EQ(counting(event, call), code); };
        refused([&] { return DAL_VELD_Update(module_, intf_, key, &record, &update_); });
        refused([&] { return DAL_VELD_Delete(module_, intf_, key); });
        if (!one_record_only) {
            refused([&] { return DAL_VELD_Read(module_, intf_, key, &record); });
            refused([&] { return DAL_VELD_CountByKey(module_, intf_, key, &count); });
            EXPECT_EQ(
                counting(event, [&] { return DAL_VELD_CreateIteratorByKey(module_, intf_, key); }),
                nullptr);
        }
        EXPECT_EQ(buffer, Bytes(facts_.stored_size));
        EXPECT_EQ(count, 77U);
    }

    /// Every operation that takes a stored record, with the given record request.
    void expect_record_refused(L2vpnDbRecData *record, std::uint32_t code) {
        const KeyRequest key(facts_.keys[0], held_);
        L2vpnDbIter *const iterator = open();
        const auto refused = [&](auto call) {
            EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_REQUEST, call), code);
        };
        refused([&] { return DAL_VELD_Write(module_, intf_, record); });
        refused([&] { return DAL_VELD_Read(module_, intf_, &key.request, record); });
        refused([&] { return DAL_VELD_GetNextEntry(module_, intf_, iterator, record); });
        EXPECT_EQ(rest_of(iterator).size(), 1U) << "the refused call has moved the iterator";
    }

    const Bytes held_ = record(1);
    L2vpnDbUpdData update_{nullptr, 0, 0, keep};
};
L2VPN_TEST_TYPED_TABLES(StoreRequests, any_table);

TEST_P(StoreRequests, NullPointersInKeys) {
    const KeyRequest good(facts_.keys[0], held_);
    expect_key_refused(nullptr, L2VPN_STORE_BAD_REQUEST, false);
    L2vpnDbKeyData bad = good.request;
    bad.keyId = nullptr;
    expect_key_refused(&bad, L2VPN_STORE_BAD_REQUEST, false);
    bad = good.request;
    bad.key = nullptr;
    expect_key_refused(&bad, L2VPN_STORE_BAD_REQUEST, false);
}

TEST_P(StoreRequests, KeysThatAreNotTheTables) {
    for (const Key &key : facts_.keys) {
        KeyRequest good(key, held_);
        for (const std::uint32_t length : {0U, 4U, 15U, 17U, 32U}) {
            L2vpnDbKeyData bad = good.request;
            bad.keyIdLength = length;
            expect_key_refused(&bad, L2VPN_STORE_BAD_KEY, false);
        }
        for (const std::uint32_t length : {0U, key.length - 1, key.length + 1, UINT32_MAX}) {
            L2vpnDbKeyData bad = good.request;
            bad.keyLength = length;
            expect_key_refused(&bad, L2VPN_STORE_BAD_KEY, false);
        }
        const auto keys = static_cast<std::uint32_t>(facts_.keys.size());
        const std::uint32_t without_index = key.word & 0xFFFFFF;
        for (const std::uint32_t word :
             {key.word + 1, key.word - 1, key.word ^ 0x10000, key.word ^ 0x80000, key.word & 0xFFFF,
              keys << 24 | 9U << 16 | key.length, 0xFFU << 24 | without_index, 0U}) {
            good.id[0] = word;
            expect_key_refused(&good.request, L2VPN_STORE_BAD_KEY, false);
        }
    }
}

TEST_P(StoreRequests, SecondaryKeysWhereThePrimaryOneIsNeeded) {
    for (const Key &key : facts_.keys) {
        if (key.index != 0) {
            const KeyRequest secondary(key, held_);
            expect_key_refused(&secondary.request, L2VPN_STORE_BAD_KEY, true);
        }
    }
}

TEST_P(StoreRequests, RecordsThatAreNotTheTables) {
    Bytes buffer(facts_.stored_size + 8);
    expect_record_refused(nullptr, L2VPN_STORE_BAD_REQUEST);
    L2vpnDbRecData bad{nullptr, facts_.stored_size, 0};
    expect_record_refused(&bad, L2VPN_STORE_BAD_REQUEST);
    for (const std::uint32_t length :
         {0U, facts_.stored_size - 1, facts_.stored_size + 1, UINT32_MAX}) {
        bad = {buffer.data(), length, 0};
        expect_record_refused(&bad, L2VPN_STORE_BAD_LENGTH);
    }
    EXPECT_EQ(buffer, Bytes(facts_.stored_size + 8));
}

TEST_P(StoreRequests, UpdatesWithoutWhatTheyNeed) {
    const KeyRequest key(facts_.keys[0], held_);
    Bytes caller = held_;
    const L2vpnDbRecData record = record_request(caller);
    const L2vpnDbUpdData no_setter{nullptr, 0, 0, nullptr};
    const auto refused = [&](const L2vpnDbRecData *from, const L2vpnDbUpdData *update) {
        EXPECT_EQ(
            counting(L2VPN_STORE_STAT_BAD_REQUEST,
                     [&] { return DAL_VELD_Update(module_, intf_, &key.request, from, update); }),
            L2VPN_STORE_BAD_REQUEST);
    };
    refused(nullptr, &update_);
    refused(&record, nullptr);
    refused(&record, &no_setter);
}

TEST_P(StoreRequests, CountsWithoutAPlaceForThem) {
    const KeyRequest key(facts_.keys[0], held_);
    EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_REQUEST,
                       [&] { return DAL_VELD_Count(module_, intf_, nullptr); }),
              L2VPN_STORE_BAD_REQUEST);
    EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_REQUEST,
                       [&] { return DAL_VELD_CountByKey(module_, intf_, &key.request, nullptr); }),
              L2VPN_STORE_BAD_REQUEST);
}

TEST_P(StoreRequests, TablesThatTheStoreDoesNotKnow) {
    const KeyRequest key(facts_.keys[0], held_);
    Bytes buffer = packed(held_);
    L2vpnDbRecData record = record_request(buffer);
    std::uint32_t count = 77;
    L2vpnDbTblIntf nameless = *intf_;
    nameless.name = nullptr;
    L2vpnDbTblIntf unknown = *intf_;
    unknown.name = "l2vpn_zz";
    L2vpnDbTblIntf cut_off = *intf_;
    const std::string shorter = table_.name.substr(0, table_.name.size() - 1);
    cut_off.name = shorter.c_str();
    const Counters before = counters();
    for (L2vpnDbTblIntf *table :
         {static_cast<L2vpnDbTblIntf *>(nullptr), &nameless, &unknown, &cut_off}) {
        const auto refused = [](std::uint32_t code) { EXPECT_EQ(code, L2VPN_STORE_UNKNOWN_TABLE); };
        refused(DAL_VELD_Write(module_, table, &record));
        refused(DAL_VELD_Read(module_, table, &key.request, &record));
        refused(DAL_VELD_Update(module_, table, &key.request, &record, &update_));
        refused(DAL_VELD_Delete(module_, table, &key.request));
        refused(DAL_VELD_GetNextEntry(module_, table, nullptr, &record));
        refused(DAL_VELD_ReleaseIterator(module_, table, nullptr));
        refused(DAL_VELD_Count(module_, table, &count));
        refused(DAL_VELD_CountByKey(module_, table, &key.request, &count));
        EXPECT_EQ(DAL_VELD_CreateIterator(module_, table), nullptr);
        EXPECT_EQ(DAL_VELD_CreateIteratorByKey(module_, table, &key.request), nullptr);
    }
    EXPECT_EQ(counters(), before);
    EXPECT_EQ(count, 77U);
}

TEST_P(StoreRequests, TheModuleIsNotLookedAtAndTheDescriptorMayBeACopyWithoutStatistics) {
    L2vpnDbTblIntf copy = *intf_;
    copy.stat = nullptr;
    std::uint32_t count = 0;
    const Counters before = counters();
    EXPECT_EQ(DAL_VELD_Count(nullptr, &copy, &count), 0U);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(counters(), before);
}

} // namespace
} // namespace l2vpn::test
