// SPDX-License-Identifier: MIT
// The key map maps a key's index to its code. It is exported and writable: the first entry for an
// index counts, and a code that belongs to no key is rejected.
#include <gtest/gtest.h>

#include "library/key_operations.h"

namespace l2vpn {
namespace {

TEST(KeyCodes, OfNoKeyAreRejected) {
    const KeyInfo keys[2]{};
    for (const std::uint32_t code : {0x101U, 0x009U, 0x209U, L2VPN_DB_NO_MAPPING}) {
        const IdPair pairs[] = {{0, 0x001}, {1, code}};
        TableInfo table{};
        table.keys = keys;
        table.key_map = {pairs, 2};
        std::uint32_t count = 77;
        EXPECT_EQ(create_iter(1, &table, table), nullptr) << code;
        EXPECT_EQ(count_by_key(1, &table, &count, table), L2VPN_DB_ERR_PARAM) << code;
        EXPECT_EQ(count, 77U);
    }
}

TEST(KeyCodes, ComeFromTheFirstEntry) {
    const IdPair pairs[] = {{4, 0x109}, {7, 0x209}, {4, 0x309}, {7, 0x409}};
    EXPECT_EQ(find_mapping(4, {pairs, 4}), 0x109U);
    EXPECT_EQ(find_mapping(7, {pairs, 4}), 0x209U);
    EXPECT_EQ(find_mapping(4, {pairs + 1, 3}), 0x309U);
    EXPECT_EQ(find_mapping(4, {pairs + 1, 1}), L2VPN_DB_NO_MAPPING);
    EXPECT_EQ(find_mapping(4, {pairs, 0}), L2VPN_DB_NO_MAPPING);
}

} // namespace
} // namespace l2vpn
