// SPDX-License-Identifier: MIT
// A value as an input gives it, before it is known whether its field takes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::records {

struct Value {
    enum class Kind : std::uint8_t { number, text, list, object, other };

    Kind kind = Kind::other;
    std::size_t line = 0;
    std::uint64_t number = 0; ///< of a number without sign or fraction that fits
    std::string text;         ///< of a text; of `other`: as it would be written
    std::vector<Value> items; ///< of a list or object, in the order of the input
};

/// A short description for messages: "70000", "\"abc\"", "[1, 256]".
std::string describe(const Value &value);

/// The text in double quotes, control characters escaped, and cut if it is very long.
std::string in_quotes(std::string_view text);

/// "1 record", "2 records".
std::string counted(std::size_t count, std::string_view noun);

} // namespace l2vpn::records
