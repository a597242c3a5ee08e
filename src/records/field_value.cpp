// SPDX-License-Identifier: MIT
#include "records/field_value.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include <arpa/inet.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace l2vpn::records {
namespace {

std::uint64_t highest(std::size_t width) {
    return std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * width);
}

/// "00:1b:44": two digits a byte, exactly as many bytes as wanted.
std::optional<std::vector<std::uint8_t>> parse_bytes(std::string_view text, std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    if (text.size() != 3 * count - 1) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const char *const digits = text.data() + 3 * i;
        if (i > 0 && digits[-1] != ':') {
            return std::nullopt;
        }
        const auto [end, error] = std::from_chars(digits, digits + 2, bytes[i], 16);
        if (error != std::errc{} || end != digits + 2) {
            return std::nullopt;
        }
    }
    return bytes;
}

/// "192.0.2.1" as a number, its first part in the highest byte.
std::optional<std::uint32_t> parse_address(const std::string &text) {
    in_addr address{};
    if (text.find('\0') != text.npos || inet_pton(AF_INET, text.c_str(), &address) != 1) {
        return std::nullopt;
    }
    return ntohl(address.s_addr);
}

bool is_number_up_to(const Value &value, std::uint64_t most) {
    return value.kind == Value::Kind::number && value.number <= most;
}

bool set_number(const Field &field, const Value &value, std::byte *at) {
    std::optional<std::uint64_t> number;
    if (value.kind == Value::Kind::text && field.width == 4) {
        number = parse_address(value.text);
    } else if (is_number_up_to(value, highest(field.width))) {
        number = value.number;
    }
    if (number) {
        put_number(at, field.width, *number);
    }
    return number.has_value();
}

/// A list of as many numbers as the field has bytes.
bool set_list(const Field &field, const Value &value, std::byte *at) {
    const auto is_byte = [](const Value &item) { return is_number_up_to(item, UINT8_MAX); };
    if (value.kind != Value::Kind::list || value.items.size() != field.width ||
        !std::ranges::all_of(value.items, is_byte)) {
        return false;
    }
    for (const Value &item : value.items) {
        put_number(at++, 1, item.number);
    }
    return true;
}

bool set_bytes(const Field &field, const Value &value, std::byte *at) {
    if (value.kind != Value::Kind::text) {
        return set_list(field, value, at);
    }
    const auto bytes = parse_bytes(value.text, field.width);
    if (!bytes) {
        return false;
    }
    std::memcpy(at, bytes->data(), field.width);
    return true;
}

/// A whole number, decimal or hexadecimal, or else a text.
Value number_or_text(std::string_view word) {
    const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
    const char *const begin = word.data() + (hexadecimal ? 2 : 0), *const end =
                                                                       word.data() + word.size();
    Value number{Value::Kind::number, 0, 0, {}, {}};
    const auto [rest, error] = std::from_chars(begin, end, number.number, hexadecimal ? 16 : 10);
    return error == std::errc{} && rest == end
               ? number
               : Value{Value::Kind::text, 0, 0, std::string(word), {}};
}

std::string listed(std::span<const std::byte> bytes) {
    return fmt::format("{:d}", fmt::join(bytes, ","));
}

std::string dotted(std::uint64_t address) {
    return fmt::format("{}.{}.{}.{}", address >> 24, address >> 16 & 255, address >> 8 & 255,
                       address & 255);
}

} // namespace

bool is_number(const Field &field) {
    return field.display == Display::number || field.display == Display::ipv4;
}

bool set_field(const Field &field, const Value &value, std::byte *record) {
    std::byte *const at = record + field.offset;
    if (is_number(field)) {
        return set_number(field, value, at);
    }
    return field.display == Display::pair ? set_list(field, value, at)
                                          : set_bytes(field, value, at);
}

Value parse_word(const Field &field, std::string_view word) {
    if (is_number(field)) {
        return number_or_text(word);
    }
    Value list{Value::Kind::list, 0, 0, {}, {}};
    if (word == "0") {
        list.items.assign(field.width, number_or_text(word));
        return list;
    }
    if (word.find(',') == word.npos) {
        return {Value::Kind::text, 0, 0, std::string(word), {}};
    }
    for (std::size_t from = 0; from <= word.size();) {
        const std::size_t comma = std::min(word.find(',', from), word.size());
        list.items.push_back(number_or_text(word.substr(from, comma - from)));
        from = comma + 1;
    }
    return list;
}

std::string expected_value(const Field &field) {
    if (is_number(field)) {
        return fmt::format("a number from 0 to {}{}", highest(field.width),
                           field.display == Display::ipv4 ? " or a text like \"192.0.2.1\"" : "");
    }
    if (field.display == Display::pair) {
        return "a list of two numbers from 0 to 255";
    }
    constexpr std::string_view example = "00:1b:44:11:3a:b7";
    const std::string_view begin = example.substr(0, std::min(example.size(), 3 * field.width - 1));
    return fmt::format("a text of {} like \"{}{}\"", counted(field.width, "hexadecimal byte"),
                       begin, field.width > 6 ? ":..." : "");
}

std::string field_text(const Field &field, const std::byte *record, Style style) {
    const std::byte *const at = record + field.offset;
    const std::span bytes(at, field.width);
    switch (field.display) {
    case Display::number:
        return std::to_string(get_number(at, field.width));
    case Display::ipv4:
        return style == Style::raw ? std::to_string(get_number(at, field.width))
                                   : dotted(get_number(at, field.width));
    case Display::pair:
        return listed(bytes);
    case Display::mac:
    case Display::array:
    case Display::bytes:
        break;
    }
    return style == Style::raw ? listed(bytes) : hexadecimal(bytes, ":");
}

std::string field_json(const Field &field, const std::byte *record, Style style) {
    const std::string text = field_text(field, record, style);
    const bool list = !is_number(field) && (field.display == Display::pair || style == Style::raw);
    if (list) {
        return '[' + text + ']';
    }
    const bool number =
        field.display == Display::number || (is_number(field) && style == Style::raw);
    return number ? text : '"' + text + '"';
}

std::string primary_key_text(const Table &table, const Bytes &record) {
    std::string text;
    for (const Field &field : table.primary_key().members) {
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", field.name,
                            field_text(field, record.data()));
    }
    return text;
}

} // namespace l2vpn::records
