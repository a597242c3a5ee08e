// SPDX-License-Identifier: MIT
// Fixtures: one table of the library on the mock platform.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "tests/support/recording_platform.h"
#include "tests/support/table_parameter.h"

namespace l2vpn::test {

/// Results of a store, each of which must reach the caller unchanged.
inline constexpr std::array<std::uint32_t, 8> store_results{0,  1,          2,          7,
                                                            60, 0x3FFFFFFF, 0x80000000, 0xFFFFFFFF};

template <class T>
T load(const void *at) {
    T value{};
    std::memcpy(&value, at, sizeof value);
    return value;
}

/// A byte view of a control block, by the offsets of the exported layout.
struct ControlBlock {
    std::uint8_t *bytes;
    std::uint32_t key_buffer;

    [[nodiscard]] std::uint8_t *key_id() const { return bytes; }
    [[nodiscard]] std::uint8_t *key() const { return bytes + 16; }
    [[nodiscard]] std::uint8_t *request() const { return bytes + 16 + key_buffer; }
    [[nodiscard]] std::uint8_t &in_use() const { return bytes[48 + key_buffer]; }
    [[nodiscard]] std::uint8_t &delivered() const { return bytes[49 + key_buffer]; }
    [[nodiscard]] std::uint8_t &spin_lock_ready() const { return bytes[50 + key_buffer]; }
    [[nodiscard]] std::uint8_t *spin_lock() const { return bytes + 52 + key_buffer; }
    [[nodiscard]] std::uint8_t *mutex() const { return bytes + 56 + key_buffer; }
    [[nodiscard]] std::uint8_t *counter(std::uint32_t stat_id) const {
        return bytes + 104 + key_buffer + std::size_t{4} * stat_id;
    }
};

/// An iterator handle for the mock platform to return.
inline L2vpnDbIter *store_iterator() {
    static std::uint64_t handle = 0;
    return reinterpret_cast<L2vpnDbIter *>(&handle);
}

/// Fills the stack below the caller with nonzero bytes, so that a missing initialisation shows.
[[gnu::noinline]] inline void dirty_stack() {
    std::array<volatile std::uint8_t, 4096> garbage;
    for (volatile std::uint8_t &byte : garbage) {
        byte = 0xCC;
    }
}

class TypedTableTest : public testing::TestWithParam<const TypedTable *> {
protected:
    void SetUp() override {
        reset_platform();
        platform().table = table.descriptor;
    }
    // Restores the state after loading.
    void TearDown() override { std::memset(table.control_block, 0, table.control_block_size); }

    [[nodiscard]] ControlBlock block() const {
        return {static_cast<std::uint8_t *>(table.control_block), expected.key_buffer()};
    }
    [[nodiscard]] L2vpnDbIter *fast_handle() const {
        return static_cast<L2vpnDbIter *>(table.control_block);
    }

    /// The only store call so far. Fails the test unless there is exactly one.
    static StoreCall only_call(Op op) {
        EXPECT_EQ(platform().calls.size(), 1U);
        if (platform().calls.size() != 1) {
            return {};
        }
        EXPECT_EQ(platform().calls[0].op, op);
        return platform().calls[0];
    }

    /// Expects a request that selects the record by the key, with zero reserved words.
    void expect_key(const std::optional<KeyCopy> &key, std::uint32_t key_index,
                    const Bytes &from_record) const {
        ASSERT_TRUE(key.has_value());
        const Key &facts = expected.keys.at(key_index);
        EXPECT_EQ(key->request.keyIdLength, 16U);
        EXPECT_EQ(key->request.reserved1, 0U);
        EXPECT_EQ(key->request.keyLength, facts.length);
        EXPECT_EQ(key->request.reserved2, 0U);
        ASSERT_EQ(key->id.size(), 16U);
        EXPECT_EQ(load<std::uint32_t>(key->id.data()), facts.word);
        EXPECT_EQ(key->request.keyLength, facts.word & 0xFFFF);
        EXPECT_EQ(Bytes(key->id.begin() + 4, key->id.end()), Bytes(12));
        EXPECT_EQ(key->value, packed_key(facts, from_record));
    }

    /// Expects a request with a zero-filled buffer of the table's stored length.
    void expect_empty_record(const std::optional<RecordCopy> &record) const {
        ASSERT_TRUE(record.has_value());
        EXPECT_NE(record->request.data, nullptr);
        EXPECT_EQ(record->request.length, expected.stored_size);
        EXPECT_EQ(record->request.reserved, 0U);
        EXPECT_EQ(record->bytes, Bytes(expected.stored_size));
    }

    const TypedTable &table = *GetParam();
    const Facts &expected = facts(table.name);
};

class SchemaTableTest : public testing::TestWithParam<const SchemaTable *> {
protected:
    void SetUp() override { reset_platform(); }

    const SchemaTable &table = *GetParam();
    const Facts &expected = facts(table.name);
};

} // namespace l2vpn::test
