// SPDX-License-Identifier: MIT
// The store's iterators and the operations by key.
#include "tests/support/table_test.h"

namespace l2vpn::test {
namespace {

class StoreIterator : public TypedTableTest {
protected:
    const Bytes record = sample_record(expected.record_size, 14);
};

TEST_P(StoreIterator, GetNextUnpacksTheStoredRecord) {
    platform().delivered = sample_record(expected.stored_size, 15);
    Bytes buffer(expected.record_size, 0xA5);
    dirty_stack();
    EXPECT_EQ(table.get_next(store_iterator(), buffer.data()), 0U);
    const StoreCall call = only_call(Op::get_next_entry);
    EXPECT_EQ(call.iterator, store_iterator());
    EXPECT_FALSE(call.key.has_value());
    expect_empty_record(call.record);
    EXPECT_EQ(buffer,
              unpacked_record(expected, platform().delivered, Bytes(expected.record_size, 0xA5)));
}

TEST_P(StoreIterator, GetNextIgnoresFailedCopies) {
    platform().delivered = sample_record(expected.stored_size, 15);
    for (std::size_t i = 0; i < expected.copies().size(); ++i) {
        platform().copy_failures[i] = 22;
    }
    Bytes buffer = record;
    EXPECT_EQ(table.get_next(store_iterator(), buffer.data()), 0U);
}

L2VPN_TEST_TYPED_TABLES(StoreIterator, any_table);

class ByKey : public TypedTableTest {
protected:
    [[nodiscard]] std::vector<std::uint32_t> unknown_indexes() const {
        const auto count = static_cast<std::uint32_t>(table.keys.size());
        return {count, count + 1, 255, 256, 0x109, 0x3FFFFFFF, 0x80000000, 0xFFFFFFFF};
    }

    const Bytes record = sample_record(expected.record_size, 16);
};

TEST_P(ByKey, CreateIterOfEachKeyCreatesAStoreIterator) {
    platform().iterator = store_iterator();
    for (std::uint32_t k = 0; k < table.keys.size(); ++k) {
        SCOPED_TRACE(table.keys[k].name);
        platform().calls.clear();
        dirty_stack();
        EXPECT_EQ(table.keys[k].create_iter(record.data()), store_iterator());
        expect_key(only_call(Op::create_iterator_by_key).key, k, record);
    }
    EXPECT_EQ(block().in_use(), 0) << "the primary key's function does not use the slot";
}

TEST_P(ByKey, CreateIterOfEachKeyRejectsANullRecord) {
    platform().iterator = store_iterator();
    for (const KeyFunctions &key : table.keys) {
        EXPECT_EQ(key.create_iter(nullptr), nullptr);
    }
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(ByKey, CountOfEachKeyReturnsTheStoresCountAndResult) {
    platform().count = 12;
    for (std::uint32_t k = 0; k < table.keys.size(); ++k) {
        SCOPED_TRACE(table.keys[k].name);
        for (const std::uint32_t result : store_results) {
            platform().calls.clear();
            platform().result = result;
            std::uint32_t count = 0;
            dirty_stack();
            EXPECT_EQ(table.keys[k].count_by(record.data(), &count), result);
            const StoreCall call = only_call(Op::count_by_key);
            expect_key(call.key, k, record);
            EXPECT_EQ(call.count, &count);
            EXPECT_EQ(count, 12U);
        }
        platform().calls.clear();
        table.keys[k].count_by(record.data(), nullptr);
        EXPECT_EQ(only_call(Op::count_by_key).count, nullptr);
    }
}

TEST_P(ByKey, CountOfEachKeyRejectsANullRecordWithoutWritingTheCount) {
    for (const KeyFunctions &key : table.keys) {
        std::uint32_t count = 99;
        EXPECT_EQ(key.count_by(nullptr, &count), 1U);
        EXPECT_EQ(count, 99U);
    }
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(ByKey, PrimaryIndexWithoutRecordIteratesOverTheTable) {
    platform().iterator = store_iterator();
    EXPECT_EQ(table.create_iter(0, nullptr), store_iterator());
    EXPECT_FALSE(only_call(Op::create_iterator).key.has_value());
    platform().iterator = nullptr;
    EXPECT_EQ(table.create_iter(0, nullptr), nullptr);
    EXPECT_EQ(block().in_use(), 0);
}

TEST_P(ByKey, PrimaryIndexWithRecordPrefersTheFastIterator) {
    platform().iterator = store_iterator();
    EXPECT_EQ(table.create_iter(0, record.data()), fast_handle());
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_EQ(Bytes(block().key(), block().key() + expected.keys[0].length),
              packed_key(expected.keys[0], record));
    EXPECT_EQ(table.create_iter(0, record.data()), store_iterator());
    expect_key(only_call(Op::create_iterator_by_key).key, 0, record);
}

TEST_P(ByKey, SecondaryIndexIteratesOverThatKey) {
    platform().iterator = store_iterator();
    for (std::uint32_t k = 1; k < table.keys.size(); ++k) {
        platform().calls.clear();
        EXPECT_EQ(table.create_iter(k, record.data()), store_iterator());
        expect_key(only_call(Op::create_iterator_by_key).key, k, record);
        platform().calls.clear();
        EXPECT_EQ(table.create_iter(k, nullptr), nullptr) << "no fallback to the whole table";
        EXPECT_TRUE(platform().calls.empty());
    }
    EXPECT_EQ(block().in_use(), 0);
}

TEST_P(ByKey, CreateIterRejectsAnUnknownIndex) {
    platform().iterator = store_iterator();
    for (const std::uint32_t index : unknown_indexes()) {
        EXPECT_EQ(table.create_iter(index, record.data()), nullptr) << index;
        EXPECT_EQ(table.create_iter(index, nullptr), nullptr) << index;
    }
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_EQ(block().in_use(), 0);
}

TEST_P(ByKey, CountByKeyUsesTheKeyOfTheIndex) {
    platform().count = 13;
    for (std::uint32_t k = 0; k < table.keys.size(); ++k) {
        for (const std::uint32_t result : store_results) {
            platform().calls.clear();
            platform().result = result;
            std::uint32_t count = 0;
            EXPECT_EQ(table.count_by_key(k, record.data(), &count), result);
            const StoreCall call = only_call(Op::count_by_key);
            expect_key(call.key, k, record);
            EXPECT_EQ(call.count, &count);
            EXPECT_EQ(count, 13U);
        }
    }
}

TEST_P(ByKey, CountByKeyRejectsANullRecord) {
    for (std::uint32_t k = 0; k < table.keys.size(); ++k) {
        std::uint32_t count = 99;
        EXPECT_EQ(table.count_by_key(k, nullptr, &count), 1U);
        EXPECT_EQ(count, 99U);
    }
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(ByKey, CountByKeyRejectsAnUnknownIndex) {
    for (const std::uint32_t index : unknown_indexes()) {
        std::uint32_t count = 99;
        EXPECT_EQ(table.count_by_key(index, record.data(), &count), 1U) << index;
        EXPECT_EQ(table.count_by_key(index, nullptr, &count), 1U) << index;
        EXPECT_EQ(count, 99U);
    }
    EXPECT_TRUE(platform().calls.empty());
}

L2VPN_TEST_TYPED_TABLES(ByKey, any_table);

} // namespace
} // namespace l2vpn::test
