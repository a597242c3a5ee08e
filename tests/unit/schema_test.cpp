// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <algorithm>

namespace l2vpn::test {
namespace {

class Schema : public SchemaTableTest {
protected:
    const L2vpnAstModule *module = table.module();

    [[nodiscard]] std::size_t field_count() const { return module->sizes & 0xFFFF; }
    [[nodiscard]] std::size_t key_count() const { return module->sizes >> 16 & 0xFFFF; }
};

TEST_P(Schema, ModuleHoldsNameListsSizesAndFormatter) {
    ASSERT_EQ(sizeof(L2vpnAstModule), 56U);
    std::array<std::uint64_t, 7> words{};
    std::memcpy(words.data(), module, sizeof words);
    EXPECT_EQ(load<const char *>(words.data()), table.name);
    EXPECT_EQ(words[1], reinterpret_cast<std::uintptr_t>(module->fields));
    EXPECT_EQ(words[2], reinterpret_cast<std::uintptr_t>(module->keys));
    EXPECT_EQ(words[3], std::uint64_t{expected.record_size} << 32 | expected.keys.size() << 16 |
                            expected.fields.size());
    EXPECT_EQ(words[4], reinterpret_cast<std::uintptr_t>(table.format));
    EXPECT_EQ(words[5], 0U);
    EXPECT_EQ(words[6], 0U);
}

TEST_P(Schema, AccessorAlwaysReturnsTheSameDescriptor) {
    EXPECT_NE(module, nullptr);
    EXPECT_EQ(table.module(), module);
}

TEST_P(Schema, RecordSizeEqualsThatOfTheHeadersStructure) {
    EXPECT_EQ(module->sizes >> 32, table.record_size);
}

TEST_P(Schema, FieldWordsHoldOffsetWidthAndId) {
    ASSERT_EQ(sizeof(L2vpnAstField), 16U);
    ASSERT_EQ(field_count(), expected.fields.size());
    for (std::size_t i = 0; i < field_count(); ++i) {
        const Field &field = expected.fields[i];
        SCOPED_TRACE(field.name);
        EXPECT_EQ(module->fields[i].name, field.name);
        EXPECT_EQ(module->fields[i].position,
                  std::uint64_t{field.offset} << 32 | std::uint64_t{field.width} << 16 | field.id);
    }
}

TEST_P(Schema, TwoElementArraysTakeTwoFieldIds) {
    std::uint64_t id = 0;
    for (std::size_t i = 0; i < field_count(); ++i) {
        EXPECT_EQ(module->fields[i].position & 0xFFFF, id) << module->fields[i].name;
        id += expected.fields[i].elements == 2 ? 2U : 1U;
    }
}

TEST_P(Schema, FieldsHaveNoPaddingBeyondAlignment) {
    std::uint64_t end = 0;
    std::uint64_t largest = 1;
    for (const Field &field : expected.fields) {
        const std::uint64_t alignment = field.elements == 1 ? field.width : 1;
        largest = std::max(largest, alignment);
        const std::uint64_t position = module->fields[&field - expected.fields.data()].position;
        EXPECT_EQ(position >> 32, (end + alignment - 1) / alignment * alignment) << field.name;
        end = (position >> 32) + (position >> 16 & 0xFFFF);
    }
    EXPECT_EQ(module->sizes >> 32, (end + largest - 1) / largest * largest);
}

TEST_P(Schema, KeysHoldIndexAndMembersInKeyOrder) {
    ASSERT_EQ(sizeof(L2vpnAstKey), 32U);
    ASSERT_EQ(key_count(), expected.keys.size());
    for (std::size_t k = 0; k < key_count(); ++k) {
        const L2vpnAstKey &key = module->keys[k];
        SCOPED_TRACE(expected.keys[k].name);
        EXPECT_EQ(key.name, expected.keys[k].name);
        EXPECT_EQ(key.index, k);
        ASSERT_EQ(key.memberCount, expected.keys[k].members.size());
        for (std::size_t m = 0; m < key.memberCount; ++m) {
            EXPECT_EQ(key.members[m], expected.keys[k].members[m].name);
        }
    }
}

TEST_P(Schema, KeyMembersPointToTheFieldsNames) {
    for (std::size_t k = 0; k < key_count(); ++k) {
        for (std::size_t m = 0; m < module->keys[k].memberCount; ++m) {
            const char *member = module->keys[k].members[m];
            EXPECT_TRUE(
                std::any_of(module->fields, module->fields + field_count(),
                            [&](const L2vpnAstField &field) { return field.name == member; }))
                << member;
        }
    }
}

TEST_P(Schema, PartsAreContiguous) {
    const void *at = module + 1;
    EXPECT_EQ(module->fields, at) << "fields follow the module";
    at = module->fields + field_count();
    for (std::size_t k = 0; k < key_count(); ++k) {
        EXPECT_EQ(module->keys[k].members, at) << "member list of key " << k;
        at = module->keys[k].members + module->keys[k].memberCount;
    }
    EXPECT_EQ(module->keys, at) << "keys follow the member lists";

    const SchemaTable *next = &table + 1;
    if (next != schema_tables.data() + schema_tables.size()) {
        EXPECT_EQ(next->module(), static_cast<const void *>(module->keys + key_count()))
            << "next table in alphabetical order";
    }
}

L2VPN_TEST_TABLES(Schema, any_table);

} // namespace
} // namespace l2vpn::test
