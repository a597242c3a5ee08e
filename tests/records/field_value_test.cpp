// SPDX-License-Identifier: MIT
// Values of every field of every table: formatted values can be parsed again.
#include <algorithm>
#include <random>
#include <span>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "records/field_value.h"

namespace l2vpn::test {
namespace {

using namespace records;

Bytes random_record(const Table &table, unsigned seed) {
    std::mt19937 random(seed);
    Bytes record(table.record_size);
    for (std::byte &byte : record) {
        byte = static_cast<std::byte>(random());
    }
    return record;
}

Value json_value(const nlohmann::json &json) {
    Value value;
    if (json.is_number_unsigned()) {
        value.kind = Value::Kind::number;
        value.number = json.get<std::uint64_t>();
    } else if (json.is_string()) {
        value.kind = Value::Kind::text;
        value.text = json.get<std::string>();
    } else {
        value.kind = Value::Kind::list;
        for (const nlohmann::json &item : json) {
            value.items.push_back(json_value(item));
        }
    }
    return value;
}

/// Expects that fields keep their values when formatted and parsed into another record.
template <class Write>
void expect_copied(Write write) {
    for (const Table &table : tables()) {
        const Bytes record = random_record(table, 1);
        for (const Style style : {Style::display, Style::raw}) {
            Bytes copy(table.record_size);
            for (const Field &field : table.fields) {
                EXPECT_TRUE(write(field, record, style, copy)) << table.name << " " << field.name;
                EXPECT_TRUE(std::equal(copy.begin() + static_cast<std::ptrdiff_t>(field.offset),
                                       copy.begin() +
                                           static_cast<std::ptrdiff_t>(field.offset + field.width),
                                       record.begin() + static_cast<std::ptrdiff_t>(field.offset)))
                    << table.name << " " << field.name << " "
                    << field_text(field, record.data(), style);
            }
        }
    }
}

TEST(FieldValue, TextIsReadAgain) {
    expect_copied([](const Field &field, const Bytes &record, Style style, Bytes &copy) {
        return set_field(field, parse_word(field, field_text(field, record.data(), style)),
                         copy.data());
    });
}

TEST(FieldValue, JsonIsReadAgain) {
    expect_copied([](const Field &field, const Bytes &record, Style style, Bytes &copy) {
        const auto json = nlohmann::json::parse(field_json(field, record.data(), style));
        return set_field(field, json_value(json), copy.data());
    });
}

/// A field of each display at offset 1, with its value in every form.
TEST(FieldValue, EachDisplayHasItsForms) {
    struct Example {
        Display display;
        std::vector<std::uint8_t> bytes;
        std::string text, json, raw, raw_json, expected;
    };
    const std::vector<Example> examples = {
        {Display::number, {0x2c, 1}, "300", "300", "300", "300", "a number from 0 to 65535"},
        {Display::ipv4,
         {1, 2, 0, 192},
         "192.0.2.1",
         "\"192.0.2.1\"",
         "3221225985",
         "3221225985",
         "a number from 0 to 4294967295 or a text like \"192.0.2.1\""},
        {Display::ipv6,
         {0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1},
         "2001:db8::1",
         "\"2001:db8::1\"",
         "32,1,13,184,0,0,0,0,0,0,0,0,0,0,0,1",
         "[32,1,13,184,0,0,0,0,0,0,0,0,0,0,0,1]",
         "a text like \"2001:db8::1\""},
        {Display::mac,
         {0, 0x1b, 0x44, 0x11, 0x3a, 0xb7},
         "00:1b:44:11:3a:b7",
         "\"00:1b:44:11:3a:b7\"",
         "0,27,68,17,58,183",
         "[0,27,68,17,58,183]",
         "a text of 6 hexadecimal bytes like \"00:1b:44:11:3a:b7\""},
        {Display::pair,
         {0, 65},
         "0,65",
         "[0,65]",
         "0,65",
         "[0,65]",
         "a list of two numbers from 0 to 255"},
        {Display::array,
         {1, 2, 3, 0xff},
         "01:02:03:ff",
         "\"01:02:03:ff\"",
         "1,2,3,255",
         "[1,2,3,255]",
         "a text of 4 hexadecimal bytes like \"00:1b:44:11\""},
        {Display::bytes,
         {0xde, 0xad, 1},
         "de:ad:01",
         "\"de:ad:01\"",
         "222,173,1",
         "[222,173,1]",
         "a text of 3 hexadecimal bytes like \"00:1b:44\""},
    };
    for (const Example &example : examples) {
        const Field field{"field", 0, 1, example.bytes.size(), 0, 1, example.display};
        Bytes record(field.width + 2);
        const auto expect_set = [&](const Value &value) {
            record.assign(record.size(), std::byte{0xa5});
            EXPECT_TRUE(set_field(field, value, record.data())) << example.text;
            EXPECT_TRUE(std::ranges::equal(
                example.bytes, std::span(record).subspan(1, field.width), {}, {},
                [](std::byte byte) { return std::to_integer<std::uint8_t>(byte); }));
            EXPECT_EQ(record.front(), std::byte{0xa5});
            EXPECT_EQ(record.back(), std::byte{0xa5});
        };
        for (const std::string &word : {example.text, example.raw}) {
            expect_set(parse_word(field, word));
        }
        for (const std::string &json : {example.json, example.raw_json}) {
            expect_set(json_value(nlohmann::json::parse(json)));
        }
        EXPECT_EQ(field_text(field, record.data()), example.text);
        EXPECT_EQ(field_json(field, record.data(), Style::display), example.json);
        EXPECT_EQ(field_text(field, record.data(), Style::raw), example.raw);
        EXPECT_EQ(field_json(field, record.data(), Style::raw), example.raw_json);
        EXPECT_EQ(expected_value(field), example.expected);
        const Bytes before = record;
        for (const char *word : {"", "1.2.3", "2001:db8:::1", "::g", "00:1b:", "de:ad:01:", "x"}) {
            EXPECT_FALSE(set_field(field, parse_word(field, word), record.data())) << word;
        }
        EXPECT_EQ(record, before);
    }
}

void expect_rejected(const Table &table, const Field &field, const std::string &word) {
    Bytes record = random_record(table, 2);
    const Bytes before = record;
    EXPECT_FALSE(set_field(field, parse_word(field, word), record.data()))
        << table.name << " " << field.name << " " << word;
    EXPECT_EQ(record, before);
}

TEST(FieldValue, MalformedWordsAreRejected) {
    for (const Table &table : tables()) {
        for (const Field &field : table.fields) {
            for (const char *word : {"", "-1", " 1", "1 ", "+1", "0x", "0xg", "1e3", "1.5", "256,0",
                                     "1,", ",1", "1,,2", "00:1b:", "18446744073709551616",
                                     "999999999999999999999999", "10.0.0", "10.0.0.256", "x"}) {
                expect_rejected(table, field, word);
            }
        }
    }
}

TEST(FieldValue, BytesOfAnotherWidthAreRejected) {
    for (const Table &table : tables()) {
        for (const Field &field : table.fields) {
            for (const std::size_t width : {field.width - 1, field.width + 1}) {
                std::string text, list;
                for (std::size_t i = 0; i < width; ++i) {
                    text += i == 0 ? "00" : ":00";
                    list += i == 0 ? "1" : ",1";
                }
                if (width > 1) {
                    expect_rejected(table, field, text);
                    expect_rejected(table, field, list);
                }
            }
        }
    }
}

TEST(FieldValue, NumbersUpToTheMaximumOfTheField) {
    const Table &table = *find_table("l2vpn_vpls_pw");
    Bytes record(table.record_size);
    for (const auto &[name, most, more] :
         {std::tuple{"pwTunnelType", "255", "256"}, std::tuple{"mtu", "0xffff", "65536"},
          std::tuple{"vcId", "4294967295", "0x100000000"},
          std::tuple{"timeStampApp", "18446744073709551615", "0x10000000000000000"}}) {
        const Field &field = *table.field(name);
        EXPECT_TRUE(set_field(field, parse_word(field, most), record.data())) << name;
        EXPECT_FALSE(set_field(field, parse_word(field, more), record.data())) << name;
        EXPECT_FALSE(set_field(field, parse_word(field, "192.0.2.1"), record.data())) << name;
    }
}

TEST(FieldValue, ZeroStandsForAllBytes) {
    for (const Table &table : tables()) {
        for (const Field &field : table.fields) {
            Bytes record = random_record(table, 3);
            EXPECT_TRUE(set_field(field, parse_word(field, "0"), record.data()))
                << table.name << " " << field.name;
            for (std::size_t i = 0; i < field.width; ++i) {
                EXPECT_EQ(record[field.offset + i], std::byte{0})
                    << table.name << " " << field.name;
            }
        }
    }
}

} // namespace
} // namespace l2vpn::test
