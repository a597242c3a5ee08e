// SPDX-License-Identifier: MIT
#include "records/value.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace l2vpn::records {

std::string counted(std::size_t count, std::string_view noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

namespace {

constexpr std::size_t longest = 100; ///< part of a text in a message

/// The values of a short list, the length of a long one.
std::string list_text(const std::vector<Value> &items) {
    constexpr std::size_t few = 8;
    if (items.size() > few) {
        return "a list of " + counted(items.size(), "value");
    }
    std::string text;
    for (const Value &item : items) {
        text += (text.empty() ? "" : ", ") + describe(item);
    }
    return '[' + text + ']';
}

} // namespace

std::string describe(const Value &value) {
    switch (value.kind) {
    case Value::Kind::number:
        return std::to_string(value.number);
    case Value::Kind::text:
        return in_quotes(value.text);
    case Value::Kind::list:
        return list_text(value.items);
    case Value::Kind::object:
        return "an object of " + counted(value.items.size(), "member");
    case Value::Kind::other:
        break;
    }
    return shortened(value.text);
}

std::string shortened(std::string_view text) {
    return text.size() > longest
               ? fmt::format("{}... ({} bytes)", text.substr(0, longest), text.size())
               : std::string(text);
}

std::string hexadecimal(std::span<const std::byte> bytes, std::string_view separator) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve((2 + separator.size()) * bytes.size());
    for (const std::byte byte : bytes) {
        text += text.empty() ? "" : separator;
        text += digits[std::to_integer<std::size_t>(byte >> 4)];
        text += digits[std::to_integer<std::size_t>(byte & std::byte{15})];
    }
    return text;
}

std::string in_quotes(std::string_view text) {
    if (text.size() > longest) {
        return fmt::format("{}... ({} bytes)", in_quotes(text.substr(0, longest)), text.size());
    }
    // Bytes that are not UTF-8 become U+FFFD.
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace l2vpn::records
