// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <algorithm>

namespace l2vpn::test {
namespace {

constexpr char untouched = '\x5A';

class Format : public SchemaTableTest {
protected:
    static std::uint32_t length_of(const std::vector<char> &buffer) {
        return static_cast<std::uint32_t>(buffer.size());
    }

    const Bytes record = sample_record(expected.record_size, 21);
    const std::size_t room = 8192 + std::size_t{4} * expected.record_size; ///< enough for any text
    std::vector<char> buffer = std::vector<char>(64, untouched);
};

TEST_P(Format, NullPointersAndEmptyBufferAreRejected) {
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

TEST_P(Format, NotSupportedReturnsThePrintsFailure) {
    for (std::uint32_t length = 1; length <= 13; ++length) {
        const std::uint32_t result = length > 11 ? 11U : 0xFFFFFFFFU;
        EXPECT_EQ(table.format(0, record.data(), buffer.data(), length, ","), result) << length;
    }
    for (const int failure : {-2, -100, 0, INT32_MIN}) {
        platform().prints.clear();
        platform().print_results = {{0, failure}};
        EXPECT_EQ(table.format(5, record.data(), buffer.data(), 64, ","),
                  static_cast<std::uint32_t>(failure));
    }
}

TEST_P(Format, WholeRecordIsTheOutputOfFormatTable) {
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
    /// Prints into a buffer of this length, followed by guard bytes, and compares.
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
        std::vector<char> output(room, untouched);
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
        std::vector<char> output(room, untouched);
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

TEST_P(FormatTable, BufferOfOneByteHoldsTheTerminatorOnly) {
    EXPECT_EQ(table.format_table(record.data(), buffer.data(), 1, ","), 0U);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[1], untouched);
}

TEST_P(FormatTable, EachPieceIsAppendedByOnePrint) {
    const std::vector<Piece> pieces = printed_pieces(expected, record, ", ");
    std::vector<char> output(room, untouched);
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

TEST_P(FormatTable, FailedPieceIsSkipped) {
    const std::vector<Piece> pieces = printed_pieces(expected, record, ", ");
    for (std::size_t failing = 0; failing < pieces.size(); ++failing) {
        for (const int failure : {-1, 0, INT32_MIN}) {
            platform().prints.clear();
            platform().print_results = {{failing, failure}};
            std::vector<Piece> others = pieces;
            others.erase(others.begin() + static_cast<std::ptrdiff_t>(failing));
            const std::string text = joined(others);
            std::vector<char> output(room, untouched);
            ASSERT_EQ(table.format_table(record.data(), output.data(), length_of(output), ", "),
                      text.size())
                << "piece " << failing;
            ASSERT_EQ(std::string(output.data()), text) << "piece " << failing;
            ASSERT_EQ(platform().prints.size(), pieces.size()) << "piece " << failing;
        }
    }
}

TEST_P(FormatTable, LengthAndRemainingSizeWrapAt32Bits) {
    const std::size_t pieces = printed_pieces(expected, record, ", ").size();
    for (const std::uint32_t length : {150U, 0xFFFFFFFFU}) {
        for (const int claimed : {100, INT32_MAX}) {
            platform().prints.clear();
            platform().print_results.clear();
            for (std::size_t i = 0; i < pieces; ++i) {
                platform().print_results[i] = claimed;
            }
            const auto step = static_cast<std::uint32_t>(claimed);
            EXPECT_EQ(table.format_table(record.data(), buffer.data(), length, ", "),
                      static_cast<std::uint32_t>(pieces * step));
            ASSERT_EQ(platform().prints.size(), pieces);
            std::uint32_t used = 0;
            for (const PrintCall &print : platform().prints) {
                ASSERT_EQ(print.destination, buffer.data() + used);
                ASSERT_EQ(print.size, length - used);
                used += step;
            }
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
    // The text may contain an address in the record, so both records use the same memory.
    Bytes shown = record;
    std::vector<char> first(room);
    std::vector<char> second(room);
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

TEST_P(FormatAddress, IsTheAddressOfTheFieldInTheRecord) {
    const auto item = std::ranges::find(expected.printed, ItemKind::address, &Item::kind);
    const Bytes copy = record;
    for (const Bytes *shown : {&record, &copy}) {
        const auto address = static_cast<std::uint32_t>(
            reinterpret_cast<std::uintptr_t>(shown->data() + item->field.offset));
        std::vector<char> output(room);
        table.format_table(shown->data(), output.data(), length_of(output), "|");
        EXPECT_NE(("|" + std::string(output.data()) + "|")
                      .find("|" + item->field.name + ":" + std::to_string(address) + "|"),
                  std::string::npos);
    }
}

L2VPN_TEST_TABLES(FormatAddress, [](const Facts &table) {
    return std::ranges::count(table.printed, ItemKind::address, &Item::kind) == 1;
});

} // namespace
} // namespace l2vpn::test
