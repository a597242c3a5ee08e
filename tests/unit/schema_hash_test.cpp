// SPDX-License-Identifier: MIT
#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/table_test.h"

namespace l2vpn::test {
namespace {

/// A mutable copy of a schema descriptor.
class Copy {
public:
    explicit Copy(const L2vpnAstModule &from)
        : fields(from.fields, from.fields + (from.sizes & 0xFFFF)),
          keys(from.keys, from.keys + (from.sizes >> 16 & 0xFFFF)), module(from) {
        for (L2vpnAstKey &key : keys) {
            members.emplace_back(key.members, key.members + key.memberCount);
        }
        // One element more, so that counts can be increased.
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
    /// Changes a copy of the descriptor and expects a hash not seen before.
    void expect_changed(const std::string &what, const std::function<void(Copy &)> &change) {
        Copy copy(*table.module());
        change(copy);
        EXPECT_TRUE(seen.insert(copy.hash()).second) << "same hash with another " << what;
    }

    std::set<std::uint64_t> seen{table.schema_hash};
};

TEST_P(SchemaHash, EqualsTheHeadersConstant) {
    EXPECT_EQ(l2vpn_schema_hash(table.module()), table.schema_hash);
    EXPECT_GE(table.schema_version, 1U);
}

TEST_P(SchemaHash, DoesNotDependOnAddresses) {
    EXPECT_EQ(Copy(*table.module()).hash(), table.schema_hash);
}

TEST_P(SchemaHash, CoversNameAndSizes) {
    const std::string longer = table.name + "x";
    const std::string shorter = table.name.substr(0, table.name.size() - 1);
    expect_changed("name", [&](Copy &copy) { copy.module.name = longer.c_str(); });
    expect_changed("name", [&](Copy &copy) { copy.module.name = shorter.c_str(); });
    expect_changed("record size", [](Copy &copy) { copy.module.sizes += std::uint64_t{1} << 32; });
    expect_changed("number of keys", [](Copy &copy) { copy.module.sizes += 1U << 16; });
    expect_changed("number of keys", [](Copy &copy) { copy.module.sizes -= 1U << 16; });
    expect_changed("number of fields", [](Copy &copy) { copy.module.sizes += 1; });
    expect_changed("number of fields", [](Copy &copy) { copy.module.sizes -= 1; });
}

TEST_P(SchemaHash, CoversEveryPartOfEveryField) {
    for (std::size_t i = 0; i < expected.fields.size(); ++i) {
        SCOPED_TRACE(expected.fields[i].name);
        const std::string name = expected.fields[i].name + "x";
        expect_changed("name", [&](Copy &copy) { copy.fields[i].name = name.c_str(); });
        for (unsigned bit = 0; bit < 64; ++bit) {
            expect_changed("position",
                           [&](Copy &copy) { copy.fields[i].position ^= std::uint64_t{1} << bit; });
        }
        if (i > 0) {
            expect_changed("order",
                           [&](Copy &copy) { std::swap(copy.fields[i], copy.fields[i - 1]); });
        }
    }
}

TEST_P(SchemaHash, CoversEveryPartOfEveryKey) {
    for (std::size_t k = 0; k < expected.keys.size(); ++k) {
        SCOPED_TRACE(expected.keys[k].name);
        const std::string name = expected.keys[k].name + "x";
        expect_changed("name", [&](Copy &copy) { copy.keys[k].name = name.c_str(); });
        expect_changed("index", [&](Copy &copy) { ++copy.keys[k].index; });
        expect_changed("memberCount", [&](Copy &copy) { ++copy.keys[k].memberCount; });
        expect_changed("memberCount", [&](Copy &copy) { --copy.keys[k].memberCount; });
        for (std::size_t m = 0; m < expected.keys[k].members.size(); ++m) {
            const std::string member = expected.keys[k].members[m].name + "x";
            expect_changed("member", [&](Copy &copy) { copy.members[k][m] = member.c_str(); });
            if (m > 0) {
                expect_changed("order", [&](Copy &copy) {
                    std::swap(copy.members[k][m], copy.members[k][m - 1]);
                });
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

// A published test vector of 64-bit FNV-1a, and a byte that is negative if char is signed.
TEST(SchemaHashes, AreFnv1a) {
    constexpr std::uint64_t basis = 0xCBF29CE484222325;
    EXPECT_EQ(l2vpn_hash_text(basis, "foobar"), 0x34531CA7168B8F38U);
    EXPECT_EQ(l2vpn_hash_text(basis, "\xFF"), 0x0A99A607B6F60BEAU);
    EXPECT_EQ(l2vpn_hash_word(basis, 0x0102030405060708U), 0x0C6D4496E17859D5U)
        << "words are hashed in little-endian byte order";
}

} // namespace
} // namespace l2vpn::test
