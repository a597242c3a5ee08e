// SPDX-License-Identifier: MIT
// The expectation files overlap. They must agree with each other and list the library's tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "tests/support/facts.h"
#include "tests/support/table_list.h"
#include "tests/support/tsv.h"

namespace l2vpn::test {
namespace {

template <class Table>
std::vector<std::string> names_of(const std::vector<Table> &tables) {
    std::vector<std::string> names(tables.size());
    std::ranges::transform(tables, names.begin(), &Table::name);
    return names;
}

std::string padding_ranges(const Facts &table) {
    std::string text;
    const std::vector<std::uint32_t> bytes = table.padding();
    for (std::size_t i = 0; i < bytes.size();) {
        std::size_t last = i;
        while (last + 1 < bytes.size() && bytes[last + 1] == bytes[last] + 1) {
            ++last;
        }
        text += text.empty() ? "" : ",";
        text += std::to_string(bytes[i]) + "-" + std::to_string(bytes[last]);
        i = last + 1;
    }
    return text.empty() ? "-" : text;
}

TEST(ExpectedFiles, ListTheTablesOfTheLibrary) {
    EXPECT_EQ(table_names(), names_of(schema_tables));
    EXPECT_EQ(typed_table_names(), names_of(typed_tables));
}

TEST(ExpectedFiles, AgreeOnSizesAndCounts) {
    for (const Row &row : read_tsv("tables.tsv")) {
        const Facts &table = facts(row.at("table"));
        SCOPED_TRACE(table.name);
        EXPECT_EQ(table.fields.size(), to_number(row.at("fields")));
        EXPECT_EQ(table.keys.size(), to_number(row.at("keys")));
        const std::uint32_t widths = std::accumulate(
            table.fields.begin(), table.fields.end(), 0U,
            [](std::uint32_t sum, const Field &field) { return sum + field.width; });
        EXPECT_EQ(widths + table.padding().size(), table.record_size);
        if (table.typed) {
            EXPECT_EQ(table.stored_size, widths);
            EXPECT_EQ(table.keys.front().length, to_number(row.at("primary_key_length")));
            EXPECT_EQ(table.record_size, to_number(row.at("generic_length")));
        }
    }
}

TEST(ExpectedFiles, AgreeOnConversions) {
    for (const Row &row : read_tsv("conversions.tsv")) {
        const Facts &table = facts(row.at("table"));
        SCOPED_TRACE(table.name);
        EXPECT_EQ(padding_ranges(table), row.at("gaps"));
        std::string strings;
        std::string arrays;
        for (const Field &field : table.fields) {
            if (field.elements == 2) {
                arrays += arrays.empty() ? "" : ",";
                arrays += field.name + ":2x" + std::to_string(field.width / 2) +
                          (field.width > 2 ? "*" : "");
            } else if (field.elements != 1) {
                strings += strings.empty() ? "" : ",";
                strings += field.name + ":" + std::to_string(field.width);
            }
        }
        EXPECT_EQ(strings.empty() ? "-" : strings, row.at("byte_strings"));
        EXPECT_EQ(arrays.empty() ? "-" : arrays, row.at("arrays"));
    }
}

TEST(ExpectedFiles, AgreeOnKeys) {
    for (const std::string &name : typed_table_names()) {
        for (const Key &key : facts(name).keys) {
            SCOPED_TRACE(name + " " + key.name);
            const std::uint32_t widths = std::accumulate(
                key.members.begin(), key.members.end(), 0U,
                [](std::uint32_t sum, const Field &member) { return sum + member.width; });
            EXPECT_EQ(key.length, widths);
            EXPECT_EQ(key.word, key.index << 24 | (key.index == 0 ? 1U : 9U) << 16 | widths);
            EXPECT_EQ(key.infix, key_infix(key.index, key.name));
        }
    }
}

TEST(ExpectedFiles, AgreeOnUpdates) {
    for (const Row &row : read_tsv("updates.tsv")) {
        const Facts &table = facts(row.at("table"));
        SCOPED_TRACE(table.name);
        EXPECT_EQ(table.record_size, to_number(row.at("record_length")));
        const Field *field = table.find("batchVersion");
        ASSERT_EQ(field != nullptr, row.at("caller_id") != "-");
        if (field != nullptr) {
            EXPECT_EQ(field->id, to_number(row.at("caller_id")));
            EXPECT_EQ(field->id, to_number(row.at("store_id")));
            EXPECT_EQ(field->offset, to_number(row.at("offset")));
        }
    }
}

TEST(ExpectedFiles, AgreeOnControlBlocks) {
    for (const Row &row : read_tsv("control_blocks.tsv")) {
        const Facts &table = facts(row.at("table"));
        SCOPED_TRACE(table.name);
        EXPECT_EQ(table.key_buffer(), to_number(row.at("key_buffer")));
        EXPECT_EQ(table.key_buffer() + 192, to_number(row.at("size")));
        EXPECT_EQ(table.key_buffer() + 104, to_number(row.at("counters")));
    }
}

TEST(ExpectedFiles, AgreeOnPrintedFields) {
    for (const Row &row : read_tsv("formats.tsv")) {
        const Facts &table = facts(row.at("table"));
        SCOPED_TRACE(table.name);
        const std::vector<std::string> items = split_list(row.at("printed"));
        std::vector<std::string> left_out = split_list(row.at("not_printed"));
        std::size_t next = 0;
        for (const Field &field : table.fields) {
            if (next < table.printed.size() && table.printed[next].field.name == field.name) {
                if (table.printed[next].kind == ItemKind::words) {
                    EXPECT_EQ(items[next], field.name + ":" + std::to_string(field.width / 4));
                }
                ++next;
            } else {
                EXPECT_EQ(std::erase(left_out, field.name), 1U) << field.name;
            }
        }
        EXPECT_EQ(next, table.printed.size()) << "items are in record order";
        EXPECT_TRUE(left_out.empty());
    }
}

} // namespace
} // namespace l2vpn::test
