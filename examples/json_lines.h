// SPDX-License-Identifier: MIT
// JSON text as a tree in which every value knows its line, so that a reader can point at it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::demo {

struct JsonValue {
    enum class Kind : std::uint8_t { number, text, list, object, other };

    Kind kind = Kind::other;
    std::size_t line = 0;
    std::uint64_t number = 0;     ///< of a number without sign or fraction that fits
    std::string text;             ///< of a text; of `other`: as it would be written
    std::vector<JsonValue> items; ///< of a list or object, in the order of the file
    std::string name;             ///< as a member of an object
    std::size_t name_line = 0;
};

/// A short description for messages: "70000", "\"abc\"", "a list of 3 values".
std::string describe(const JsonValue &value);

/// The text in double quotes, control characters escaped.
std::string quoted(const std::string &text);

struct JsonError {
    std::size_t line;
    std::string what;
};

/// Parses a whole text. Repeated members of an object are all kept.
std::optional<JsonValue> parse_json(std::string_view text, JsonError &error);

} // namespace l2vpn::demo
