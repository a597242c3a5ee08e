// SPDX-License-Identifier: MIT
#include "field_value.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include <arpa/inet.h>
#include <fmt/format.h>

namespace l2vpn::demo {
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

bool is_number_up_to(const JsonValue &value, std::uint64_t most) {
    return value.kind == JsonValue::Kind::number && value.number <= most;
}

bool set_number(const Field &field, const JsonValue &value, std::byte *at) {
    if (value.kind == JsonValue::Kind::text && field.width == 4) {
        const auto address = parse_address(value.text);
        if (address) {
            put_number(at, field.width, *address);
        }
        return address.has_value();
    }
    if (!is_number_up_to(value, highest(field.width))) {
        return false;
    }
    put_number(at, field.width, value.number);
    return true;
}

bool set_pair(const JsonValue &value, std::byte *at) {
    const auto is_byte = [](const JsonValue &item) { return is_number_up_to(item, UINT8_MAX); };
    if (value.kind != JsonValue::Kind::list || value.items.size() != 2 ||
        !std::ranges::all_of(value.items, is_byte)) {
        return false;
    }
    put_number(at, 1, value.items[0].number);
    put_number(at + 1, 1, value.items[1].number);
    return true;
}

bool set_bytes(const Field &field, const JsonValue &value, std::byte *at) {
    if (value.kind != JsonValue::Kind::text) {
        return false;
    }
    const auto bytes = parse_bytes(value.text, field.width);
    if (!bytes) {
        return false;
    }
    std::memcpy(at, bytes->data(), field.width);
    return true;
}

} // namespace

bool set_field(const Field &field, const JsonValue &value, std::byte *record) {
    std::byte *const at = record + field.offset;
    switch (field.kind) {
    case Field::Kind::number:
        return set_number(field, value, at);
    case Field::Kind::pair:
        return set_pair(value, at);
    case Field::Kind::bytes:
        break;
    }
    return set_bytes(field, value, at);
}

std::string expected_value(const Field &field) {
    switch (field.kind) {
    case Field::Kind::number:
        return fmt::format("a number from 0 to {}{}", highest(field.width),
                           field.width == 4 ? " or a text like \"192.0.2.1\"" : "");
    case Field::Kind::pair:
        return "a list of two numbers from 0 to 255";
    case Field::Kind::bytes:
        break;
    }
    return fmt::format("a text of {} hexadecimal bytes like \"00:1b:44\"", field.width);
}

std::string field_text(const Field &field, const std::byte *record) {
    const std::byte *const at = record + field.offset;
    if (field.kind == Field::Kind::number) {
        return std::to_string(get_number(at, field.width));
    }
    std::string text;
    for (std::size_t i = 0; i < field.width; ++i) {
        text += fmt::format("{}{:02x}", i == 0 ? "" : ":", get_number(at + i, 1));
    }
    return text;
}

} // namespace l2vpn::demo
