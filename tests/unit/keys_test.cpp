// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <algorithm>

namespace l2vpn::test {
namespace {

class Keys : public TypedTableTest {
protected:
    const Bytes record = sample_record(expected.record_size, 8);
};

TEST_P(Keys, HaveTheNamesAndInfixesOfTheSchema) {
    ASSERT_EQ(table.keys.size(), expected.keys.size());
    for (std::size_t k = 0; k < table.keys.size(); ++k) {
        EXPECT_EQ(table.keys[k].name, expected.keys[k].name);
        EXPECT_EQ(table.keys[k].infix, expected.keys[k].infix);
    }
}

TEST_P(Keys, BuilderFillsWordValueAndRequest) {
    for (std::size_t k = 0; k < table.keys.size(); ++k) {
        const Key &key = expected.keys[k];
        SCOPED_TRACE(key.name);
        L2vpnDbKeyData request{};
        std::array<std::uint32_t, 4> key_id{};
        Bytes value(key.length + 8, 0xA5);
        table.keys[k].set(record.data(), &request, key_id.data(), value.data());

        EXPECT_EQ(key_id, (std::array<std::uint32_t, 4>{key.word, 0, 0, 0}));
        Bytes packed = packed_key(key, record);
        ASSERT_EQ(packed.size(), key.length);
        packed.resize(value.size(), 0xA5);
        EXPECT_EQ(value, packed);

        std::array<std::uint8_t, 32> words{};
        std::memcpy(words.data(), &request, sizeof request);
        EXPECT_EQ(load<std::uint64_t>(&words[0]), reinterpret_cast<std::uintptr_t>(key_id.data()));
        EXPECT_EQ(load<std::uint32_t>(&words[8]), 16U);
        EXPECT_EQ(load<std::uint32_t>(&words[12]), 0U);
        EXPECT_EQ(load<std::uint64_t>(&words[16]), reinterpret_cast<std::uintptr_t>(value.data()));
        EXPECT_EQ(load<std::uint32_t>(&words[24]), key.length);
        EXPECT_EQ(load<std::uint32_t>(&words[28]), 0U);
    }
}

TEST_P(Keys, BuilderDoesNotWriteReservedWords) {
    for (std::size_t k = 0; k < table.keys.size(); ++k) {
        L2vpnDbKeyData request{};
        request.reserved1 = 0x11111111;
        request.reserved2 = 0x22222222;
        std::array<std::uint32_t, 4> key_id{9, 8, 7, 6};
        Bytes value(expected.keys[k].length);
        table.keys[k].set(record.data(), &request, key_id.data(), value.data());
        EXPECT_EQ(request.reserved1, 0x11111111U);
        EXPECT_EQ(request.reserved2, 0x22222222U);
        EXPECT_EQ(key_id[1], 8U);
        EXPECT_EQ(key_id[2], 7U);
        EXPECT_EQ(key_id[3], 6U);
    }
}

TEST_P(Keys, MembersArePackedInKeyOrder) {
    for (std::size_t k = 0; k < table.keys.size(); ++k) {
        std::uint32_t at = 0;
        for (const Field &member : expected.keys[k].members) {
            Bytes single(expected.record_size);
            std::fill_n(single.begin() + member.offset, member.width, std::uint8_t{0xEE});
            L2vpnDbKeyData request{};
            std::array<std::uint32_t, 4> key_id{};
            Bytes value(expected.keys[k].length);
            table.keys[k].set(single.data(), &request, key_id.data(), value.data());
            Bytes packed(expected.keys[k].length);
            std::fill_n(packed.begin() + at, member.width, std::uint8_t{0xEE});
            EXPECT_EQ(value, packed) << expected.keys[k].name << " " << member.name;
            at += member.width;
        }
    }
}

TEST_P(Keys, ByteStringMembersAreCopiedWithTheirOwnLimit) {
    for (std::size_t k = 0; k < table.keys.size(); ++k) {
        platform().copies.clear();
        L2vpnDbKeyData request{};
        std::array<std::uint32_t, 4> key_id{};
        Bytes value(expected.keys[k].length);
        table.keys[k].set(record.data(), &request, key_id.data(), value.data());
        std::size_t calls = 0;
        std::uint32_t at = 0;
        for (const Field &member : expected.keys[k].members) {
            if (member.elements != 1) {
                ASSERT_LT(calls, platform().copies.size());
                const CopyCall &call = platform().copies[calls++];
                EXPECT_EQ(call.destination, value.data() + at);
                EXPECT_EQ(call.source, record.data() + member.offset);
                EXPECT_EQ(call.size, member.width);
                EXPECT_EQ(call.count, member.width);
            }
            at += member.width;
        }
        EXPECT_EQ(platform().copies.size(), calls) << expected.keys[k].name;
    }
}

TEST_P(Keys, IndexMapsToItsCode) {
    for (std::uint32_t index = 0; index < expected.keys.size(); ++index) {
        EXPECT_EQ(table.map_key_id(index), index == 0 ? 1U : index * 256 + 9);
    }
}

TEST_P(Keys, UnknownIndexHasNoMapping) {
    const auto count = static_cast<std::uint32_t>(expected.keys.size());
    for (const std::uint32_t index : {count, count + 1, 0x109U, 0x100U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        EXPECT_EQ(table.map_key_id(index), L2VPN_DB_NO_MAPPING) << index;
    }
}

L2VPN_TEST_TYPED_TABLES(Keys, any_table);

} // namespace
} // namespace l2vpn::test
