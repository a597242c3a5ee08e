// SPDX-License-Identifier: MIT
// A parsed value, before it is checked against its field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::records {

struct Value {
    enum class Kind : std::uint8_t { number, text, list, object, other };

    Kind kind = Kind::other;
    std::size_t line = 0;
    std::uint64_t number = 0; ///< of `number`: an unsigned integer of 64 bits
    std::string text;         ///< of `text`; of `other`, as in JSON
    std::vector<Value> items; ///< of `list` and `object`, in order
};

/// A short description for messages: "70000", "\"abc\"", "[1, 256]".
std::string describe(const Value &value);

/// The text, of which at most 100 bytes are kept, with its length if it is cut.
std::string shortened(std::string_view text);

/// The text in double quotes, with control characters escaped; long text is cut.
std::string in_quotes(std::string_view text);

/// Two digits a byte.
std::string hexadecimal(std::span<const std::byte> bytes, std::string_view separator = "");

/// "1 record", "2 records".
std::string counted(std::size_t count, std::string_view noun);

} // namespace l2vpn::records
