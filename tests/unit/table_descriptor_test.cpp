// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

namespace l2vpn::test {
namespace {

class TableDescriptor : public TypedTableTest {
protected:
    [[nodiscard]] const std::uint8_t *bytes() const {
        return reinterpret_cast<const std::uint8_t *>(table.descriptor);
    }
    [[nodiscard]] std::uint64_t word(std::size_t number) const {
        return load<std::uint64_t>(bytes() + 8 * number);
    }
};

TEST_P(TableDescriptor, NamesItsTable) {
    EXPECT_EQ(load<const char *>(bytes()), table.name);
}

TEST_P(TableDescriptor, HoldsItsRecordObjectFunctions) {
    auto *module = L2VPN_DB_ModuleIntf();
    L2vpnDbRecObj *object = table.descriptor->createObject(module);
    table.descriptor->resetObject(module, object);
    const L2vpnDbRecData request{nullptr, 4711, 0};
    table.descriptor->setAllFields(object, &request);
    table.descriptor->releaseObject(module, object);

    const std::array expected_calls{ObjectOp::create, ObjectOp::reset, ObjectOp::set_all_fields,
                                    ObjectOp::release};
    ASSERT_EQ(platform().objects.size(), expected_calls.size());
    for (std::size_t i = 0; i < expected_calls.size(); ++i) {
        EXPECT_EQ(platform().objects[i].op, expected_calls[i]) << "word " << i + 1;
        EXPECT_EQ(platform().objects[i].table, table.name);
        EXPECT_EQ(platform().objects[i].object, object);
    }
    // The header's members are at the words of the exported layout.
    EXPECT_EQ(word(1), reinterpret_cast<std::uintptr_t>(table.descriptor->createObject));
    EXPECT_EQ(word(2), reinterpret_cast<std::uintptr_t>(table.descriptor->releaseObject));
    EXPECT_EQ(word(3), reinterpret_cast<std::uintptr_t>(table.descriptor->resetObject));
    EXPECT_EQ(word(4), reinterpret_cast<std::uintptr_t>(table.descriptor->setAllFields));
}

TEST_P(TableDescriptor, HoldsItsStatisticsFunction) {
    EXPECT_EQ(word(5), reinterpret_cast<std::uintptr_t>(table.stat));
}

TEST_P(TableDescriptor, ReservedWordsAreZero) {
    for (std::size_t number = 6; number < 10; ++number) {
        EXPECT_EQ(word(number), 0U) << "word " << number;
    }
}

TEST_P(TableDescriptor, UpdateFieldMapFollowsTheDescriptor) {
    if (const Field *field = expected.find("batchVersion")) {
        EXPECT_EQ(load<std::uint32_t>(bytes() + 80), field->id);
        EXPECT_EQ(load<std::uint32_t>(bytes() + 84), field->id);
    }
}

TEST_P(TableDescriptor, KeyMapFollowsTheUpdateFieldMap) {
    const std::uint8_t *pair = bytes() + (is_updatable(expected) ? 88 : 80);
    for (std::uint32_t index = 0; index < expected.keys.size(); ++index, pair += 8) {
        EXPECT_EQ(load<std::uint32_t>(pair), index);
        EXPECT_EQ(load<std::uint32_t>(pair + 4), index == 0 ? 1U : index * 256 + 9);
    }
}

L2VPN_TEST_TYPED_TABLES(TableDescriptor, any_table);

TEST(TableDescriptors, AreDifferentObjects) {
    for (const TypedTable &table : typed_tables) {
        for (const TypedTable &other : typed_tables) {
            EXPECT_EQ(table.descriptor == other.descriptor, &table == &other)
                << table.name << " " << other.name;
        }
    }
}

} // namespace
} // namespace l2vpn::test
