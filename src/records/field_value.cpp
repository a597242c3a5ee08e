// SPDX-License-Identifier: MIT
#include "records/field_value.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace l2vpn::records {
namespace {

std::uint64_t highest(std::size_t width) {
    return std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * width);
}

using FieldBytes = std::span<const std::byte>;
using FieldRoom = std::span<std::byte>;

/// "00:1b:44": two digits a byte.
bool parse_bytes(const std::string &text, FieldRoom at) {
    std::vector<std::uint8_t> bytes(at.size());
    if (text.size() != 3 * at.size() - 1) {
        return false;
    }
    for (std::size_t i = 0; i < at.size(); ++i) {
        const char *const digits = text.data() + 3 * i;
        if (i > 0 && digits[-1] != ':') {
            return false;
        }
        const auto [end, error] = std::from_chars(digits, digits + 2, bytes[i], 16);
        if (error != std::errc{} || end != digits + 2) {
            return false;
        }
    }
    std::memcpy(at.data(), bytes.data(), at.size());
    return true;
}

std::string bytes_text(FieldBytes bytes) {
    return hexadecimal(bytes, ":");
}

/// Sets the address in network byte order.
template <int family, class Address>
bool parse_address(const std::string &text, FieldRoom at) {
    Address address{};
    const bool parsed =
        text.find('\0') == text.npos && inet_pton(family, text.c_str(), &address) == 1;
    if (parsed) {
        std::memcpy(at.data(), &address, sizeof address);
    }
    return parsed;
}

/// "192.0.2.1" as a number, its first part in the highest byte.
bool parse_ipv4(const std::string &text, FieldRoom at) {
    const bool parsed = parse_address<AF_INET, in_addr>(text, at);
    if (parsed) {
        std::ranges::reverse(at);
    }
    return parsed;
}

std::string ipv4_text(FieldBytes bytes) {
    return fmt::format("{:d}", fmt::join(bytes.rbegin(), bytes.rend(), "."));
}

std::string ipv6_text(FieldBytes bytes) {
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, bytes.data(), text, sizeof text);
}

/// How a display writes values. Without a text, and in raw style, they are numbers or lists of
/// bytes.
struct Notation {
    bool number; ///< else bytes
    std::string (*text)(FieldBytes) = nullptr;
    /// False, with the field unchanged, if the text is malformed.
    bool (*parse)(const std::string &, FieldRoom) = nullptr;
    const char *example = nullptr; ///< none for bytes in hexadecimal
};

Notation notation_of(const Field &field) {
    switch (field.display) {
    case Display::number:
        return {true};
    case Display::ipv4:
        return {true, ipv4_text, parse_ipv4, "192.0.2.1"};
    case Display::ipv6:
        return {false, ipv6_text, parse_address<AF_INET6, in6_addr>, "2001:db8::1"};
    case Display::pair:
        return {false};
    case Display::mac:
    case Display::array:
    case Display::bytes:
        break;
    }
    return {false, bytes_text, parse_bytes};
}

bool has_text(const Field &field, Style style) {
    return style == Style::display && notation_of(field).text != nullptr;
}

bool is_number_up_to(const Value &value, std::uint64_t most) {
    return value.kind == Value::Kind::number && value.number <= most;
}

bool set_number(const Value &value, FieldRoom at) {
    const bool fits = is_number_up_to(value, highest(at.size()));
    if (fits) {
        put_number(at.data(), at.size(), value.number);
    }
    return fits;
}

/// A list of as many numbers as the field has bytes.
bool set_list(const Value &value, FieldRoom at) {
    const auto is_byte = [](const Value &item) { return is_number_up_to(item, UINT8_MAX); };
    if (value.kind != Value::Kind::list || value.items.size() != at.size() ||
        !std::ranges::all_of(value.items, is_byte)) {
        return false;
    }
    std::ranges::transform(value.items, at.begin(),
                           [](const Value &item) { return static_cast<std::byte>(item.number); });
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

} // namespace

bool is_number(const Field &field) {
    return notation_of(field).number;
}

bool set_field(const Field &field, const Value &value, std::byte *record) {
    const FieldRoom at(record + field.offset, field.width);
    const Notation notation = notation_of(field);
    if (value.kind == Value::Kind::text) {
        return notation.parse != nullptr && notation.parse(value.text, at);
    }
    return notation.number ? set_number(value, at) : set_list(value, at);
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
    const Notation notation = notation_of(field);
    std::string text = notation.example ? fmt::format("a text like \"{}\"", notation.example) : "";
    if (notation.number) {
        return fmt::format("a number from 0 to {}{}{}", highest(field.width),
                           text.empty() ? "" : " or ", text);
    }
    if (notation.text == nullptr) {
        return "a list of two numbers from 0 to 255";
    }
    if (!text.empty()) {
        return text;
    }
    constexpr std::string_view example = "00:1b:44:11:3a:b7";
    const std::string_view begin = example.substr(0, std::min(example.size(), 3 * field.width - 1));
    return fmt::format("a text of {} like \"{}{}\"", counted(field.width, "hexadecimal byte"),
                       begin, field.width > 6 ? ":..." : "");
}

std::string field_text(const Field &field, const std::byte *record, Style style) {
    const FieldBytes bytes(record + field.offset, field.width);
    if (has_text(field, style)) {
        return notation_of(field).text(bytes);
    }
    return is_number(field) ? std::to_string(get_number(bytes.data(), field.width))
                            : fmt::format("{:d}", fmt::join(bytes, ","));
}

std::string field_json(const Field &field, const std::byte *record, Style style) {
    const std::string text = field_text(field, record, style);
    if (has_text(field, style)) {
        return '"' + text + '"';
    }
    return is_number(field) ? text : '[' + text + ']';
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
