// SPDX-License-Identifier: MIT
// Write, read, delete and count, by every key.
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class StoreRecords : public StoreTest {};
L2VPN_TEST_TYPED_TABLES(StoreRecords, any_table);

TEST_P(StoreRecords, AWrittenRecordIsFoundByEveryKey) {
    const Bytes written = record(1);
    EXPECT_EQ(counting(L2VPN_STORE_STAT_INSERTED, [&] { return write(written); }), 0U);
    for (const Key &key : facts_.keys) {
        const auto event = key.index == 0 ? L2VPN_STORE_STAT_READ : L2VPN_STORE_STAT_KEY_READ;
        EXPECT_EQ(counting(event, [&] { return read(key, written); }), packed(written)) << key.name;
        EXPECT_EQ(count(key, written), 1U) << key.name;
    }
    EXPECT_EQ(count(), 1U);
}

TEST_P(StoreRecords, AnEmptyTableFindsNoRecordByAnyKey) {
    const Bytes absent = record(1);
    for (const Key &key : facts_.keys) {
        const auto event =
            key.index == 0 ? L2VPN_STORE_STAT_READ_MISSED : L2VPN_STORE_STAT_KEY_READ_MISSED;
        EXPECT_EQ(counting(event, [&] { return read(key, absent); }), std::nullopt) << key.name;
        EXPECT_EQ(count(key, absent), 0U) << key.name;
    }
    EXPECT_EQ(counting(L2VPN_STORE_STAT_DELETE_MISSED, [&] { return remove(absent); }),
              L2VPN_STORE_NOT_FOUND);
    EXPECT_EQ(count(), 0U);
}

TEST_P(StoreRecords, ASecondWriteReplacesTheRecordUnderEveryKey) {
    const Bytes first = record(1);
    const Bytes second = with_primary_key_of(first, record(2));
    ASSERT_EQ(write(first), 0U);
    EXPECT_EQ(counting(L2VPN_STORE_STAT_REPLACED, [&] { return write(second); }), 0U);
    EXPECT_EQ(count(), 1U);
    for (const Key &key : facts_.keys) {
        EXPECT_EQ(read(key, second), packed(second)) << key.name;
        if (packed_key(key, first) != packed_key(key, second)) {
            EXPECT_EQ(read(key, first), std::nullopt) << key.name;
            EXPECT_EQ(count(key, first), 0U) << key.name;
        }
    }
}

TEST_P(StoreRecords, DeleteRemovesTheRecordFromEveryKey) {
    const Bytes gone = record(1);
    const Bytes kept = record(2);
    ASSERT_EQ(write(gone), 0U);
    ASSERT_EQ(write(kept), 0U);
    EXPECT_EQ(counting(L2VPN_STORE_STAT_DELETED, [&] { return remove(gone); }), 0U);
    EXPECT_EQ(remove(gone), L2VPN_STORE_NOT_FOUND);
    EXPECT_EQ(count(), 1U);
    for (const Key &key : facts_.keys) {
        EXPECT_EQ(read(key, gone), std::nullopt) << key.name;
        EXPECT_EQ(read(key, kept), packed(kept)) << key.name;
    }
}

TEST(StoreTables, AreSeparate) {
    for (const TypedTable &table : typed_tables) {
        const Bytes record = sample_record(facts(table.name).record_size);
        EXPECT_EQ(table.write(record.data()), 0U);
    }
    for (const TypedTable &table : typed_tables) {
        std::uint32_t count = 0;
        EXPECT_EQ(table.count(&count), 0U);
        EXPECT_EQ(count, 1U) << table.name;
        const Bytes record = sample_record(facts(table.name).record_size);
        EXPECT_EQ(table.remove(record.data()), 0U);
    }
}

} // namespace
} // namespace l2vpn::test
