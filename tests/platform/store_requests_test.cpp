// SPDX-License-Identifier: MIT
// Malformed requests are rejected with the correct code and event, and change nothing.
#include <algorithm>
#include <functional>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

int setter_calls = 0;

std::uint32_t keep(const L2vpnDbRecData *, L2vpnDbRecObj *, const std::uint32_t *, std::uint32_t) {
    ++setter_calls;
    return 0;
}

class StoreRequests : public StoreTest {
protected:
    void SetUp() override {
        setter_calls = 0;
        ASSERT_EQ(write(held_), 0U);
    }

    void TearDown() override {
        EXPECT_EQ(count(), 1U);
        for (const Key &key : facts_.keys) {
            EXPECT_EQ(read(key, held_), packed(held_));
            EXPECT_EQ(count(key, held_), 1U);
        }
        StoreTest::TearDown();
    }

    /// Expects every operation by key to reject the request.
    void expect_key_rejected(const L2vpnDbKeyData *key, std::uint32_t code) {
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData record = record_request(buffer);
        std::uint32_t count = 77;
        expect_rejected(code, [&] { return DAL_VELD_Read(module_, intf_, key, &record); });
        expect_rejected(code, [&] { return DAL_VELD_CountByKey(module_, intf_, key, &count); });
        EXPECT_EQ(counting(event(code),
                           [&] { return DAL_VELD_CreateIteratorByKey(module_, intf_, key); }),
                  nullptr);
        EXPECT_EQ(buffer, Bytes(facts_.stored_size));
        EXPECT_EQ(count, 77U);
        expect_primary_key_rejected(key, code);
    }

    /// Expects the operations by primary key to reject the request.
    void expect_primary_key_rejected(const L2vpnDbKeyData *key, std::uint32_t code) {
        const L2vpnDbRecData record = unread_record();
        expect_rejected(code,
                        [&] { return DAL_VELD_Update(module_, intf_, key, &record, &update_); });
        expect_rejected(code, [&] { return DAL_VELD_Delete(module_, intf_, key); });
        EXPECT_EQ(setter_calls, 0);
    }

    template <class Call>
    void expect_rejected(std::uint32_t code, Call call) {
        EXPECT_EQ(counting(event(code), call), code);
    }

    static L2vpnStoreStat event(std::uint32_t code) {
        return code == L2VPN_STORE_NULL_POINTER || code == L2VPN_STORE_BAD_LENGTH
                   ? L2VPN_STORE_STAT_BAD_REQUEST
                   : L2VPN_STORE_STAT_BAD_KEY;
    }

    /// Expects every operation with a stored record to reject the request.
    void expect_record_rejected(L2vpnDbRecData *record, std::uint32_t code) {
        const KeyRequest key(facts_.keys[0], held_);
        L2vpnDbIter *const iterator = open();
        expect_rejected(code, [&] { return DAL_VELD_Write(module_, intf_, record); });
        expect_rejected(code, [&] { return DAL_VELD_Read(module_, intf_, &key.request, record); });
        expect_rejected(code,
                        [&] { return DAL_VELD_GetNextEntry(module_, intf_, iterator, record); });
        EXPECT_EQ(rest_of(iterator).size(), 1U) << "the rejected call moved the iterator";
    }

    const Bytes held_ = record(1);
    L2vpnDbUpdData update_{nullptr, 0, 0, keep};
};
L2VPN_TEST_TYPED_TABLES(StoreRequests, any_table);

TEST_P(StoreRequests, NullPointersInKeys) {
    expect_key_rejected(nullptr, L2VPN_STORE_NULL_POINTER);
    for (const Key &key : facts_.keys) {
        const KeyRequest good(key, held_);
        L2vpnDbKeyData bad = good.request;
        bad.keyId = nullptr;
        expect_key_rejected(&bad, L2VPN_STORE_NULL_POINTER);
        bad = good.request;
        bad.key = nullptr;
        expect_key_rejected(&bad, L2VPN_STORE_NULL_POINTER);
    }
}

TEST_P(StoreRequests, WrongKeyAreaLengths) {
    for (const Key &key : facts_.keys) {
        const KeyRequest good(key, held_);
        for (const std::uint32_t length : {0U, 4U, 15U, 17U, 32U, UINT32_MAX}) {
            L2vpnDbKeyData bad = good.request;
            bad.keyIdLength = length;
            expect_key_rejected(&bad, L2VPN_STORE_BAD_KEY_AREA);
        }
    }
}

TEST_P(StoreRequests, UnknownKeys) {
    KeyRequest request(facts_.keys[0], held_);
    const auto keys = static_cast<std::uint32_t>(facts_.keys.size());
    for (const std::uint32_t index : {keys, keys + 1, 0x7FU, 0x80U, 0xFFU}) {
        request.id[0] = index << 24 | 9U << 16 | facts_.keys[0].length;
        expect_key_rejected(&request.request, L2VPN_STORE_UNKNOWN_KEY);
    }
}

TEST_P(StoreRequests, WrongKeyFlags) {
    for (const Key &key : facts_.keys) {
        KeyRequest request(key, held_);
        for (std::uint32_t flags = 0; flags < 0x100; ++flags) {
            if (flags == (key.index == 0 ? 1U : 9U))
                continue;
            request.id[0] = key.index << 24 | flags << 16 | key.length;
            expect_key_rejected(&request.request, L2VPN_STORE_BAD_KEY_FLAGS);
            EXPECT_EQ(count(), 1U); // another event: this thread must report immediately
        }
    }
}

TEST_P(StoreRequests, WrongKeyLengths) {
    for (const Key &key : facts_.keys) {
        for (const std::uint32_t length :
             {0U, key.length - 1, key.length + 1, key.length + 8, 0xFFFFU}) {
            KeyRequest in_word(key, held_);
            in_word.id[0] = (key.word & 0xFFFF0000) | length;
            expect_key_rejected(&in_word.request, L2VPN_STORE_BAD_KEY_LENGTH);
            KeyRequest in_request(key, held_);
            in_request.request.keyLength = length;
            expect_key_rejected(&in_request.request, L2VPN_STORE_BAD_KEY_LENGTH);
            in_request.id = in_word.id;
            expect_key_rejected(&in_request.request, L2VPN_STORE_BAD_KEY_LENGTH);
        }
        KeyRequest beyond_16_bits(key, held_);
        beyond_16_bits.request.keyLength |= 0x10000;
        expect_key_rejected(&beyond_16_bits.request, L2VPN_STORE_BAD_KEY_LENGTH);
    }
}

TEST_P(StoreRequests, SecondaryKeysInUpdateAndDelete) {
    for (const Key &key : facts_.keys) {
        if (key.index != 0) {
            const KeyRequest secondary(key, held_);
            expect_primary_key_rejected(&secondary.request, L2VPN_STORE_NOT_PRIMARY);
        }
    }
}

TEST_P(StoreRequests, ReservedWordsAreIgnored) {
    for (const Key &key : facts_.keys) {
        KeyRequest request(key, held_);
        request.id = {key.word, 1, 2, 3};
        request.request.reserved1 = 4;
        request.request.reserved2 = 5;
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData record{buffer.data(), facts_.stored_size, 6};
        EXPECT_EQ(DAL_VELD_Read(module_, intf_, &request.request, &record), 0U);
        EXPECT_EQ(buffer, packed(held_));
    }
}

TEST_P(StoreRequests, NullRecordsAndWrongLengths) {
    Bytes buffer(facts_.stored_size + 8);
    expect_record_rejected(nullptr, L2VPN_STORE_NULL_POINTER);
    L2vpnDbRecData bad{nullptr, facts_.stored_size, 0};
    expect_record_rejected(&bad, L2VPN_STORE_NULL_POINTER);
    for (const std::uint32_t length :
         {0U, facts_.stored_size - 1, facts_.stored_size + 1, UINT32_MAX}) {
        bad = {buffer.data(), length, 0};
        expect_record_rejected(&bad, L2VPN_STORE_BAD_LENGTH);
    }
    EXPECT_EQ(buffer, Bytes(facts_.stored_size + 8));
}

TEST_P(StoreRequests, IncompleteUpdates) {
    const KeyRequest key(facts_.keys[0], held_);
    const L2vpnDbRecData record = unread_record();
    const L2vpnDbUpdData no_setter{nullptr, 0, 0, nullptr};
    const auto rejected = [&](L2vpnDbTblIntf *table, const L2vpnDbRecData *from,
                              const L2vpnDbUpdData *update) {
        expect_rejected(L2VPN_STORE_NULL_POINTER, [&] {
            return DAL_VELD_Update(module_, table, &key.request, from, update);
        });
    };
    const L2vpnDbRecData no_data{nullptr, facts_.record_size, 0};
    rejected(intf_, nullptr, &update_);
    rejected(intf_, &no_data, &update_);
    rejected(intf_, &record, nullptr);
    rejected(intf_, &record, &no_setter);
    L2vpnDbTblIntf without_objects = *intf_;
    without_objects.createObject = nullptr;
    rejected(&without_objects, &record, &update_);
    without_objects = *intf_;
    without_objects.releaseObject = nullptr;
    rejected(&without_objects, &record, &update_);
    without_objects = *intf_;
    without_objects.setAllFields = nullptr;
    rejected(&without_objects, &record, &update_);
    EXPECT_EQ(setter_calls, 0);
}

TEST_P(StoreRequests, NullCounts) {
    expect_rejected(L2VPN_STORE_NULL_POINTER,
                    [&] { return DAL_VELD_Count(module_, intf_, nullptr); });
    for (const Key &key : facts_.keys) {
        const KeyRequest request(key, held_);
        expect_rejected(L2VPN_STORE_NULL_POINTER, [&] {
            return DAL_VELD_CountByKey(module_, intf_, &request.request, nullptr);
        });
    }
}

TEST_P(StoreRequests, UnknownTables) {
    const KeyRequest key(facts_.keys[0], held_);
    Bytes buffer = packed(held_);
    L2vpnDbRecData record = record_request(buffer);
    std::uint32_t count = 77;
    L2vpnDbTblIntf nameless = *intf_;
    nameless.name = nullptr;
    L2vpnDbTblIntf unknown = *intf_;
    unknown.name = "l2vpn_ZZ"; // tables have lower-case names
    L2vpnDbTblIntf cut_off = *intf_;
    std::string shorter = table_.name;
    do {
        shorter.pop_back();
    } while (std::ranges::count(typed_tables, shorter, &TypedTable::name) != 0);
    cut_off.name = shorter.c_str();
    const Counters before = counters();
    for (L2vpnDbTblIntf *table :
         {static_cast<L2vpnDbTblIntf *>(nullptr), &nameless, &unknown, &cut_off}) {
        const auto rejected = [](std::uint32_t code) {
            EXPECT_EQ(code, L2VPN_STORE_UNKNOWN_TABLE);
        };
        rejected(DAL_VELD_Write(module_, table, &record));
        rejected(DAL_VELD_Read(module_, table, &key.request, &record));
        rejected(DAL_VELD_Update(module_, table, &key.request, &record, &update_));
        rejected(DAL_VELD_Delete(module_, table, &key.request));
        rejected(DAL_VELD_GetNextEntry(module_, table, nullptr, &record));
        rejected(DAL_VELD_ReleaseIterator(module_, table, nullptr));
        rejected(DAL_VELD_Count(module_, table, &count));
        rejected(DAL_VELD_CountByKey(module_, table, &key.request, &count));
        EXPECT_EQ(DAL_VELD_CreateIterator(module_, table), nullptr);
        EXPECT_EQ(DAL_VELD_CreateIteratorByKey(module_, table, &key.request), nullptr);
    }
    EXPECT_EQ(counters(), before);
    EXPECT_EQ(count, 77U);
}

TEST_P(StoreRequests, NullModuleAndCopiedDescriptorWithoutStatistics) {
    L2vpnDbTblIntf copy = *intf_;
    copy.stat = nullptr;
    const KeyRequest key(facts_.keys[0], held_);
    std::uint32_t count = 0;
    const Counters before = counters();
    EXPECT_EQ(DAL_VELD_Count(nullptr, &copy, &count), 0U);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(DAL_VELD_CountByKey(nullptr, &copy, &key.request, nullptr), L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(counters(), before);
}

TEST_P(StoreRequests, TheNameSelectsTheTableAtEachCall) {
    const TypedTable &other = typed_tables[&table_ == &typed_tables[0] ? 1 : 0];
    L2vpnDbTblIntf moving = *intf_;
    std::uint32_t count = 77;
    EXPECT_EQ(DAL_VELD_Count(module_, &moving, &count), 0U);
    EXPECT_EQ(count, 1U);
    moving.name = other.descriptor->name;
    EXPECT_EQ(DAL_VELD_Count(module_, &moving, &count), 0U);
    EXPECT_EQ(count, 0U);
    moving.name = nullptr;
    EXPECT_EQ(DAL_VELD_Count(module_, &moving, &count), L2VPN_STORE_UNKNOWN_TABLE);
    const std::string same_name = table_.name;
    moving.name = same_name.c_str();
    EXPECT_EQ(DAL_VELD_Count(module_, &moving, &count), 0U);
    EXPECT_EQ(count, 1U);
}

} // namespace
} // namespace l2vpn::test
