// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <algorithm>

#include "l2vpn_db/l2vpn_bfdlnk.h"
#include "l2vpn_db/l2vpn_eth.h"
#include "l2vpn_db/l2vpn_extnhp.h"
#include "l2vpn_db/l2vpn_ifm.h"
#include "l2vpn_db/l2vpn_mpls_tunnel.h"
#include "l2vpn_db/l2vpn_vpls_exp.h"

namespace l2vpn::test {
namespace {

constexpr char untouched = '\x5A';

class Format : public SchemaTableTest {
protected:
    static std::uint32_t length_of(const std::vector<char> &buffer) {
        return static_cast<std::uint32_t>(buffer.size());
    }

    const Bytes record = sample_record(expected.record_size, 21);
    std::vector<char> buffer = std::vector<char>(64, untouched);
};

TEST_P(Format, NullPointersAndEmptyBufferAreRefused) {
    const std::vector<char> before = buffer;
    for (const std::uint32_t format_id : {L2VPN_AST_WHOLE_RECORD, 0U, 1U}) {
        EXPECT_EQ(table.format(format_id, nullptr, buffer.data(), 64, ","), L2VPN_AST_ERR);
        EXPECT_EQ(table.format(format_id, record.data(), nullptr, 64, ","), L2VPN_AST_ERR);
        EXPECT_EQ(table.format(format_id, record.data(), buffer.data(), 0, ","), L2VPN_AST_ERR);
        EXPECT_EQ(table.format(format_id, record.data(), buffer.data(), 64, nullptr),
                  L2VPN_AST_ERR);
        EXPECT_EQ(table.format(format_id, nullptr, nullptr, 0, nullptr), L2VPN_AST_ERR);
    }
    EXPECT_EQ(buffer, before);
    EXPECT_TRUE(platform().prints.empty());
}

TEST_P(Format, OtherPresentationsAreNotSupported) {
    for (const std::uint32_t format_id : {0U, 1U, 0x7FFFFFFFU, 0xFFFFFFFEU, 0x80000000U}) {
        platform().prints.clear();
        EXPECT_EQ(table.format(format_id, record.data(), buffer.data(), 64, ","), 11U);
        EXPECT_STREQ(buffer.data(), "not support");
        ASSERT_EQ(platform().prints.size(), 1U);
        EXPECT_EQ(platform().prints[0].destination, buffer.data());
        EXPECT_EQ(platform().prints[0].size, 64U);
        EXPECT_EQ(platform().prints[0].format, "not support");
    }
}

TEST_P(Format, NotSupportedPassesThePrintsFailureOn) {
    for (std::uint32_t length = 1; length <= 13; ++length) {
        const std::uint32_t result = length > 11 ? 11U : 0xFFFFFFFFU;
        EXPECT_EQ(table.format(0, record.data(), buffer.data(), length, ","), result) << length;
    }
    for (const int failure : {-2, -100, 0, INT32_MIN}) {
        platform().prints.clear();
        platform().print_failures = {{0, failure}};
        EXPECT_EQ(table.format(5, record.data(), buffer.data(), 64, ","),
                  static_cast<std::uint32_t>(failure));
    }
}

TEST_P(Format, WholeRecordIsWhatFormatTablePrints) {
    std::vector<char> by_table(4096, untouched);
    std::vector<char> by_format(4096, untouched);
    for (const std::uint32_t length : {1U, 2U, 20U, 100U, 4096U}) {
        platform().prints.clear();
        const std::uint32_t result =
            table.format_table(record.data(), by_table.data(), length, "; ");
        const std::size_t prints = platform().prints.size();
        EXPECT_EQ(
            table.format(L2VPN_AST_WHOLE_RECORD, record.data(), by_format.data(), length, "; "),
            result);
        EXPECT_EQ(by_format, by_table);
        EXPECT_EQ(platform().prints.size(), 2 * prints);
    }
}

TEST_P(Format, IsTheFormatterOfTheSchemaDescriptor) {
    EXPECT_EQ(table.module()->format, table.format);
}

L2VPN_TEST_TABLES(Format, any_table);

class FormatTable : public Format {
protected:
    /// Prints into a buffer of exactly this length, with guard bytes behind it, and compares.
    void expect_text(const std::vector<Piece> &pieces, std::uint32_t length,
                     const std::string &separator) {
        const std::string text = printed_text(pieces, length);
        std::vector<char> output(length + 8, untouched);
        platform().prints.clear();
        ASSERT_EQ(table.format_table(record.data(), output.data(), length, separator.c_str()),
                  text.size())
            << "buffer of " << length;
        ASSERT_EQ(std::string(output.data()), text) << "buffer of " << length;
        ASSERT_EQ(std::ranges::count(output.begin() + length, output.end(), untouched), 8)
            << "buffer of " << length;
    }

    static std::string joined(const std::vector<Piece> &pieces) {
        std::string text;
        for (const Piece &piece : pieces) {
            text += piece.text;
        }
        return text;
    }
};

TEST_P(FormatTable, PrintsTheItemsInOrder) {
    for (const std::string separator : {", ", "|", "\n", " <separator> "}) {
        const std::string text = joined(printed_pieces(expected, record, separator));
        std::vector<char> output(8192, untouched);
        EXPECT_EQ(
            table.format_table(record.data(), output.data(), length_of(output), separator.c_str()),
            text.size());
        EXPECT_EQ(std::string(output.data()), text);
    }
}

TEST_P(FormatTable, PrintsExtremeValues) {
    for (const std::uint8_t byte : {std::uint8_t{0}, std::uint8_t{0xFF}, std::uint8_t{0x80}}) {
        const Bytes uniform(expected.record_size, byte);
        const std::string text = joined(printed_pieces(expected, uniform, ","));
        std::vector<char> output(8192, untouched);
        EXPECT_EQ(table.format_table(uniform.data(), output.data(), length_of(output), ","),
                  text.size());
        EXPECT_EQ(std::string(output.data()), text);
    }
}

TEST_P(FormatTable, EveryBufferLength) {
    const std::vector<Piece> pieces = printed_pieces(expected, record, ", ");
    const auto whole = static_cast<std::uint32_t>(joined(pieces).size());
    for (std::uint32_t length = 1; length <= whole + 3; ++length) {
        ASSERT_NO_FATAL_FAILURE(expect_text(pieces, length, ", "));
    }
    expect_text(pieces, 100000, ", ");
    EXPECT_EQ(table.format(L2VPN_AST_WHOLE_RECORD, record.data(), buffer.data(), 0, ", "),
              L2VPN_AST_ERR);
}

TEST_P(FormatTable, EveryBufferLengthWithAnEmptySeparator) {
    const std::vector<Piece> pieces = printed_pieces(expected, record, "");
    const auto whole = static_cast<std::uint32_t>(joined(pieces).size());
    for (std::uint32_t length = 1; length <= whole + 1; ++length) {
        ASSERT_NO_FATAL_FAILURE(expect_text(pieces, length, ""));
    }
}

TEST_P(FormatTable, NothingFitsIntoOneCharacter) {
    EXPECT_EQ(table.format_table(record.data(), buffer.data(), 1, ","), 0U);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[1], untouched);
}

TEST_P(FormatTable, EachPieceIsOnePrintAtTheEndOfTheText) {
    const std::vector<Piece> pieces = printed_pieces(expected, record, ", ");
    std::vector<char> output(8192, untouched);
    table.format_table(record.data(), output.data(), length_of(output), ", ");
    ASSERT_EQ(platform().prints.size(), pieces.size());
    std::size_t used = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        EXPECT_EQ(platform().prints[i].format, pieces[i].format) << "piece " << i;
        EXPECT_EQ(platform().prints[i].destination, output.data() + used) << "piece " << i;
        EXPECT_EQ(platform().prints[i].size, output.size() - used) << "piece " << i;
        used += pieces[i].text.size();
    }
}

TEST_P(FormatTable, FailedPieceCountsAsNothingAndPrintingGoesOn) {
    const std::vector<Piece> pieces = printed_pieces(expected, record, ", ");
    for (std::size_t failing = 0; failing < pieces.size(); ++failing) {
        for (const int failure : {-1, 0, INT32_MIN}) {
            platform().prints.clear();
            platform().print_failures = {{failing, failure}};
            std::vector<Piece> others = pieces;
            others.erase(others.begin() + static_cast<std::ptrdiff_t>(failing));
            const std::string text = joined(others);
            std::vector<char> output(8192, untouched);
            ASSERT_EQ(table.format_table(record.data(), output.data(), length_of(output), ", "),
                      text.size())
                << "piece " << failing;
            ASSERT_EQ(std::string(output.data()), text) << "piece " << failing;
            ASSERT_EQ(platform().prints.size(), pieces.size()) << "piece " << failing;
        }
    }
}

TEST_P(FormatTable, FieldsThatAreNotPrintedDoNotChangeTheText) {
    Bytes other = record;
    for (std::uint32_t i = 0; i < expected.record_size; ++i) {
        const bool printed = std::ranges::any_of(expected.printed, [&](const Item &item) {
            return item.kind != ItemKind::address && i >= item.field.offset &&
                   i < item.field.offset + item.field.width;
        });
        if (!printed) {
            other[i] = static_cast<std::uint8_t>(~other[i]);
        }
    }
    // Both records at one address: an address may be part of the text.
    Bytes shown = record;
    std::vector<char> first(8192);
    std::vector<char> second(8192);
    table.format_table(shown.data(), first.data(), length_of(first), ",");
    std::copy(other.begin(), other.end(), shown.begin());
    table.format_table(shown.data(), second.data(), length_of(second), ",");
    EXPECT_EQ(first, second);
}

TEST_P(FormatTable, ReservedFieldsAndTimeStampsAreNeverPrinted) {
    for (const Item &item : expected.printed) {
        EXPECT_FALSE(item.field.elements == 1 && item.field.width == 8) << item.field.name;
        const std::string stem =
            item.field.name.substr(0, item.field.name.find_last_not_of("0123456789") + 1);
        for (const char *reserved : {"res", "resv", "rsv", "rev"}) {
            EXPECT_NE(stem, reserved) << item.field.name;
        }
    }
}

L2VPN_TEST_TABLES(FormatTable, any_table);

class FormatAddress : public Format {};

TEST_P(FormatAddress, StandsForTheBytesOfTheField) {
    const auto item = std::ranges::find(expected.printed, ItemKind::address, &Item::kind);
    const Bytes copy = record;
    for (const Bytes *shown : {&record, &copy}) {
        const auto address = static_cast<std::uint32_t>(
            reinterpret_cast<std::uintptr_t>(shown->data() + item->field.offset));
        std::vector<char> output(8192);
        table.format_table(shown->data(), output.data(), length_of(output), "|");
        EXPECT_NE(("|" + std::string(output.data()) + "|")
                      .find("|" + item->field.name + ":" + std::to_string(address) + "|"),
                  std::string::npos);
    }
}

L2VPN_TEST_TABLES(FormatAddress, [](const Facts &table) {
    return std::ranges::count(table.printed, ItemKind::address, &Item::kind) == 1;
});

/// Single lines, written out.
class FormatExamples : public testing::Test {
protected:
    void SetUp() override { reset_platform(); }

    template <class Record>
    void expect_line(L2vpnAstFormatFn format, const Record &record, const char *separator,
                     const std::string &line) {
        EXPECT_EQ(format(L2VPN_AST_WHOLE_RECORD, &record, buffer.data(), 512, separator),
                  line.size());
        EXPECT_EQ(std::string(buffer.data()), line);
    }

    std::array<char, 512> buffer{};
};

TEST_F(FormatExamples, NextHop) {
    L2vpnExtnhp record{};
    record.vrIndex = 1;
    record.l2vpnIid = 2;
    record.tunnelId = 7;
    record.tunnelType = 3;
    record.srcPid = 100;
    record.svcStatus[1] = 1;
    record.batchVersion = 5;
    const std::string line =
        "vrIndex:1, l2vpnIid:2, tVrfIndex:0, tunnelId:7, tunnelType:3, srcPid:100, flags:0, "
        "svcStatus:0 1, svcErrcode:0 0, svcCtx:0x 0 0 0 0 0 0 0 0, batchVersion:5";
    EXPECT_EQ(line.size(), 155U);
    expect_line(L2VPN_AST_L2vpnExtnhpFormat, record, ", ", line);
}

TEST_F(FormatExamples, EmptySeparatorRunsTheItemsTogether) {
    L2vpnExtnhp record{};
    record.vrIndex = 1;
    record.l2vpnIid = 2;
    expect_line(L2VPN_AST_L2vpnExtnhpFormat, record, "",
                "vrIndex:1l2vpnIid:2tVrfIndex:0tunnelId:0tunnelType:0srcPid:0flags:0svcStatus:0 "
                "0svcErrcode:0 0svcCtx:0x 0 0 0 0 0 0 0 0batchVersion:0");
}

TEST_F(FormatExamples, OnlyTheInterfaceIndexOfAnInterface) {
    L2vpnIfm record{};
    record.ifIndex = 4294967295;
    record.ifType = 9;
    expect_line(L2VPN_AST_L2vpnIfmFormat, record, ", ", "ifIndex:4294967295");
}

TEST_F(FormatExamples, OnlyTheKeyFieldsOfABfdLinkAndOfAnEthernetEntry) {
    L2vpnBfdlnk link{};
    link.vrIndex = 1;
    link.pwTunnelId = 2;
    link.pwTunnelType = 255;
    link.bfdStatus = 4;
    expect_line(L2VPN_AST_L2vpnBfdlnkFormat, link, ",", "vrIndex:1,pwTunnelId:2,pwTunnelType:255");
    L2vpnEth entry{};
    entry.ifIndex = 3;
    entry.vlanId = 65535;
    entry.vrId = 8;
    expect_line(L2VPN_AST_L2vpnEthFormat, entry, ",", "ifIndex:3,vlanId:65535");
}

TEST_F(FormatExamples, SeparatorAfterTheLastItem) {
    L2vpnVplsExp record{};
    record.vrIndex = 1;
    record.svcErrcode[0] = 2;
    record.svcErrcode[1] = 3;
    expect_line(L2VPN_AST_L2vpnVplsExpFormat, record, ";",
                "vrIndex:1;instanceId:0;flags:0;batchVersion:0;svcStatus:0 0;svcErrcode:2 3;");
}

TEST_F(FormatExamples, ContextWordsAtTheEndWithoutSeparator) {
    L2vpnMplsTunnel record{};
    const std::array<std::uint32_t, 8> words{0, 1, 0xA, 0xFF, 0xDEADBEEF, 0x10, 0xFFFFFFFF, 0xC};
    static_assert(sizeof record.svcCtx == sizeof words);
    std::memcpy(record.svcCtx, words.data(), sizeof words);
    expect_line(L2VPN_AST_L2vpnMplsTunnelFormat, record, ";",
                "vrIndex:0;vrfIndex:0;tunnelId:0;tunnelType:0;svcStatus:0 0;svcErrcode:0 0;"
                "svcCtx:0x 0 1 a ff deadbeef 10 ffffffff c");
}

} // namespace
} // namespace l2vpn::test
