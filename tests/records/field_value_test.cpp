// SPDX-License-Identifier: MIT
// Values of every field of every table: formatted values can be parsed again.
#include <random>

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
