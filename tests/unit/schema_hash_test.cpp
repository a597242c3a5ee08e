// SPDX-License-Identifier: MIT
#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/table_test.h"

namespace l2vpn::test {
namespace {

/// A schema descriptor that a test may change.
class Copy {
public:
    explicit Copy(const L2vpnAstModule &from)
        : fields(from.fields, from.fields + (from.sizes & 0xFFFF)),
          keys(from.keys, from.keys + (from.sizes >> 16 & 0xFFFF)), module(from) {
        for (L2vpnAstKey &key : keys) {
            members.emplace_back(key.members, key.members + key.memberCount);
        }
        // What a larger count takes in.
        fields.push_back({"oneMoreField", 0});
        keys.push_back({"one_more_key", 0, nullptr, 0});
        module.fields = fields.data();
        module.keys = keys.data();
        for (std::size_t k = 0; k < members.size(); ++k) {
            members[k].push_back("oneMoreMember");
            keys[k].members = members[k].data();
        }
    }

    [[nodiscard]] std::uint64_t hash() const { return l2vpn_schema_hash(&module); }

    std::vector<L2vpnAstField> fields;
    std::vector<std::vector<const char *>> members; ///< key by key
    std::vector<L2vpnAstKey> keys;
    L2vpnAstModule module;
};

class SchemaHash : public SchemaTableTest {
protected:
    /// Changes a copy of the descriptor, which must show in the hash.
    void changed(const std::string &what, const std::function<void(Copy &)> &change) {
        Copy copy(*table.module());
        change(copy);
        EXPECT_TRUE(seen.insert(copy.hash()).second) << what << " has changed, the hash has not";
    }

    std::set<std::uint64_t> seen{table.schema_hash};
};

TEST_P(SchemaHash, IsTheHeadersConstant) {
    EXPECT_EQ(l2vpn_schema_hash(table.module()), table.schema_hash);
    EXPECT_GE(table.schema_version, 1U);
}

TEST_P(SchemaHash, IsThatOfACopy) {
    EXPECT_EQ(Copy(*table.module()).hash(), table.schema_hash);
}

TEST_P(SchemaHash, ShowsNameAndSizes) {
    const std::string longer = table.name + "x";
    const std::string shorter = table.name.substr(0, table.name.size() - 1);
    changed("name", [&](Copy &copy) { copy.module.name = longer.c_str(); });
    changed("name", [&](Copy &copy) { copy.module.name = shorter.c_str(); });
    changed("record size", [](Copy &copy) { copy.module.sizes += std::uint64_t{1} << 32; });
    changed("number of keys", [](Copy &copy) { copy.module.sizes += 1U << 16; });
    changed("number of keys", [](Copy &copy) { copy.module.sizes -= 1U << 16; });
    changed("number of fields", [](Copy &copy) { copy.module.sizes += 1; });
    changed("number of fields", [](Copy &copy) { copy.module.sizes -= 1; });
}

TEST_P(SchemaHash, ShowsEveryPartOfEveryField) {
    for (std::size_t i = 0; i < expected.fields.size(); ++i) {
        SCOPED_TRACE(expected.fields[i].name);
        const std::string name = expected.fields[i].name + "x";
        changed("name", [&](Copy &copy) { copy.fields[i].name = name.c_str(); });
        for (unsigned bit = 0; bit < 64; ++bit) {
            changed("position",
                    [&](Copy &copy) { copy.fields[i].position ^= std::uint64_t{1} << bit; });
        }
        if (i > 0) {
            changed("order", [&](Copy &copy) { std::swap(copy.fields[i], copy.fields[i - 1]); });
        }
    }
}

TEST_P(SchemaHash, ShowsEveryPartOfEveryKey) {
    for (std::size_t k = 0; k < expected.keys.size(); ++k) {
        SCOPED_TRACE(expected.keys[k].name);
        const std::string name = expected.keys[k].name + "x";
        changed("name", [&](Copy &copy) { copy.keys[k].name = name.c_str(); });
        changed("index", [&](Copy &copy) { ++copy.keys[k].index; });
        changed("memberCount", [&](Copy &copy) { ++copy.keys[k].memberCount; });
        changed("memberCount", [&](Copy &copy) { --copy.keys[k].memberCount; });
        for (std::size_t m = 0; m < expected.keys[k].members.size(); ++m) {
            const std::string member = expected.keys[k].members[m].name + "x";
            changed("member", [&](Copy &copy) { copy.members[k][m] = member.c_str(); });
            if (m > 0) {
                changed("order",
                        [&](Copy &copy) { std::swap(copy.members[k][m], copy.members[k][m - 1]); });
            }
        }
    }
}

TEST_P(SchemaHash, DoesNotDependOnTheFormatterOrReservedWords) {
    Copy copy(*table.module());
    copy.module.format = nullptr;
    copy.module.reserved[0] = copy.module.reserved[1] = 1;
    EXPECT_EQ(copy.hash(), table.schema_hash);
}

L2VPN_TEST_TABLES(SchemaHash, any_table);

// A published value of 64-bit FNV-1a, and bytes that are negative where char is signed.
TEST(SchemaHashes, AreFnv1aOverTextsAndWords) {
    constexpr std::uint64_t basis = 0xCBF29CE484222325;
    EXPECT_EQ(l2vpn_hash_text(basis, "foobar"), 0x34531CA7168B8F38U);
    EXPECT_EQ(l2vpn_hash_text(basis, "\xFF"), 0x0A99A607B6F60BEAU);
    EXPECT_EQ(l2vpn_hash_word(basis, 0x0102030405060708U), 0x0C6D4496E17859D5U)
        << "the lowest byte comes first";
}

} // namespace
} // namespace l2vpn::test
