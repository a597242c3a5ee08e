// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <algorithm>

namespace l2vpn::test {
namespace {

class RecordOperations : public TypedTableTest {
protected:
    /// Differs from `record` in every byte outside the primary key.
    [[nodiscard]] Bytes same_key_only() const {
        Bytes other = record;
        for (std::uint8_t &byte : other) {
            byte = static_cast<std::uint8_t>(~byte);
        }
        for (const Field &member : expected.keys.front().members) {
            std::copy_n(record.begin() + member.offset, member.width,
                        other.begin() + member.offset);
        }
        return other;
    }

    const Bytes record = sample_record(expected.record_size, 5);
};

class Write : public RecordOperations {};

TEST_P(Write, PassesThePackedRecordToTheStore) {
    dirty_stack();
    EXPECT_EQ(table.write(record.data()), 0U);
    const StoreCall call = only_call(Op::write);
    EXPECT_FALSE(call.key.has_value());
    ASSERT_TRUE(call.record.has_value());
    EXPECT_EQ(call.record->request.length, expected.stored_size);
    EXPECT_EQ(call.record->request.reserved, 0U);
    EXPECT_EQ(call.record->bytes, packed_record(expected, record));
}

TEST_P(Write, BytesOfFailedCopiesAreZero) {
    const std::vector<Copy> copies = expected.copies();
    Bytes packed = packed_record(expected, record);
    for (std::size_t i = 0; i < copies.size(); ++i) {
        platform().copy_failures[i] = 1;
        std::fill_n(packed.begin() + copies[i].stored_offset, copies[i].size, std::uint8_t{0});
    }
    dirty_stack();
    EXPECT_EQ(table.write(record.data()), 0U) << "the conversion's result is ignored";
    EXPECT_EQ(only_call(Op::write).record->bytes, packed);
}

TEST_P(Write, NullRecordIsRejectedWithoutAStoreCall) {
    EXPECT_EQ(table.write(nullptr), 1U);
    EXPECT_TRUE(platform().calls.empty());
}

L2VPN_TEST_TYPED_TABLES(Write, any_table);

class Read : public RecordOperations {};

TEST_P(Read, UsesThePrimaryKey) {
    Bytes buffer = record;
    dirty_stack();
    EXPECT_EQ(table.read(buffer.data()), 0U);
    const StoreCall call = only_call(Op::read);
    expect_key(call.key, 0, record);
    expect_empty_record(call.record);
}

TEST_P(Read, FillsEveryFieldAndNoPadding) {
    platform().delivered = sample_record(expected.stored_size, 6);
    Bytes buffer = record;
    EXPECT_EQ(table.read(buffer.data()), 0U);
    EXPECT_EQ(buffer, unpacked_record(expected, platform().delivered, record));
}

TEST_P(Read, NullRecordIsRejectedWithoutAStoreCall) {
    EXPECT_EQ(table.read(nullptr), 1U);
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(Read, KeyBytesOfFailedCopiesAreZero) {
    Bytes zero_strings = record;
    for (const Field &member : expected.keys.front().members) {
        if (member.elements != 1) {
            platform().copy_failures[platform().copy_failures.size()] = 1;
            std::fill_n(zero_strings.begin() + member.offset, member.width, std::uint8_t{0});
        }
    }
    Bytes buffer = record;
    dirty_stack();
    table.read(buffer.data());
    ASSERT_EQ(platform().calls.size(), 1U);
    expect_key(platform().calls[0].key, 0, zero_strings);
}

L2VPN_TEST_TYPED_TABLES(Read, any_table);

class ReadByKey : public RecordOperations {};

TEST_P(ReadByKey, PassesTheCallersKeyRequest) {
    for (std::uint32_t k = 0; k < table.keys.size(); ++k) {
        L2vpnDbKeyData request{};
        std::array<std::uint32_t, 4> key_id{};
        Bytes key(expected.keys[k].length);
        table.keys[k].set(record.data(), &request, key_id.data(), key.data());
        platform().calls.clear();
        platform().delivered = sample_record(expected.stored_size, 7 + k);
        Bytes buffer(expected.record_size, 0xA5);
        dirty_stack();
        EXPECT_EQ(table.read_by_key(buffer.data(), &request), 0U);
        const StoreCall call = only_call(Op::read);
        ASSERT_TRUE(call.key.has_value());
        EXPECT_EQ(call.key->address, &request);
        expect_key(call.key, k, record);
        expect_empty_record(call.record);
        EXPECT_EQ(buffer, unpacked_record(expected, platform().delivered,
                                          Bytes(expected.record_size, 0xA5)));
    }
}

L2VPN_TEST_TYPED_TABLES(ReadByKey, any_table);

class Delete : public RecordOperations {};

TEST_P(Delete, UsesThePrimaryKey) {
    dirty_stack();
    EXPECT_EQ(table.remove(record.data()), 0U);
    const StoreCall call = only_call(Op::remove);
    expect_key(call.key, 0, record);
    EXPECT_FALSE(call.record.has_value());
}

TEST_P(Delete, UsesOnlyTheKeyFields) {
    table.remove(record.data());
    table.remove(same_key_only().data());
    ASSERT_EQ(platform().calls.size(), 2U);
    EXPECT_EQ(platform().calls[0].key->value, platform().calls[1].key->value);
    EXPECT_EQ(platform().calls[0].key->id, platform().calls[1].key->id);
}

TEST_P(Delete, NullRecordIsRejectedWithoutAStoreCall) {
    EXPECT_EQ(table.remove(nullptr), 1U);
    EXPECT_TRUE(platform().calls.empty());
}

L2VPN_TEST_TYPED_TABLES(Delete, any_table);

class Count : public RecordOperations {};

TEST_P(Count, ForwardsTheCountPointerAndTheResult) {
    for (auto *function : {table.count, table.dal.count}) {
        for (const std::uint32_t result : store_results) {
            platform().calls.clear();
            platform().result = result;
            platform().count = 4711;
            std::uint32_t count = 0;
            EXPECT_EQ(function(&count), result);
            EXPECT_EQ(count, 4711U);
            EXPECT_EQ(only_call(Op::count).count, &count);
        }
    }
}

TEST_P(Count, DoesNotCheckThePointer) {
    for (auto *function : {table.count, table.dal.count}) {
        platform().calls.clear();
        platform().result = 5;
        EXPECT_EQ(function(nullptr), 5U);
        EXPECT_EQ(only_call(Op::count).count, nullptr);
    }
}

TEST_P(Count, DoesNotWriteTheCountItself) {
    std::uint32_t count = 0xDEADBEEF;
    EXPECT_EQ(table.count(&count), 0U);
    EXPECT_EQ(count, 0xDEADBEEF);
}

L2VPN_TEST_TYPED_TABLES(Count, any_table);

} // namespace
} // namespace l2vpn::test
