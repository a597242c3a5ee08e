// SPDX-License-Identifier: MIT
#include "tool/hex_dump.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <vector>

#include <fmt/format.h>

#include "records/value.h"
#include "tool/command.h"

namespace l2vpn::tool {
namespace {

constexpr std::string_view digits = "0123456789abcdefABCDEF";
constexpr std::string_view separators = " \t\r,:";

bool is_hex(std::string_view text) {
    return !text.empty() && text.find_first_not_of(digits) == text.npos;
}

std::vector<std::string_view> split(std::string_view text) {
    std::vector<std::string_view> tokens;
    while ((text.remove_prefix(std::min(text.find_first_not_of(separators), text.size())),
            !text.empty())) {
        const std::size_t end = std::min(text.find_first_of(separators), text.size());
        tokens.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return tokens;
}

/// One line of a dump.
struct Line {
    std::string_view offset; ///< empty if there is none
    std::vector<std::string_view> tokens;
};

Line line_of(std::string_view text, bool offset_seen) {
    constexpr std::size_t shortest_offset = 6;
    text = text.substr(0, std::min(text.find(" |"), text.find("  >"))); // hexdump -C, od -t x1z
    const std::size_t colon = text.starts_with("0x") ? text.rfind(':') : text.find(':');
    if (colon != text.npos && text.substr(colon + 1).find_first_of(" \t") == 0) {
        if (text.starts_with("0x")) { // gdb: "0x7ffe10 <record+8>:	0x00"
            return {text.substr(2, std::min(text.find_first_of(" :"), text.size()) - 2),
                    split(text.substr(colon + 1))};
        }
        if (colon >= shortest_offset && is_hex(text.substr(0, colon))) { // xxd: "00000010: 0200 .."
            const std::string_view rest = text.substr(colon + 2);
            return {text.substr(0, colon), split(rest.substr(0, rest.find("  ")))};
        }
    }
    std::vector<std::string_view> tokens = split(text);
    const bool offset =
        !tokens.empty() && tokens[0].size() >= shortest_offset && is_hex(tokens[0]) &&
        (tokens.size() > 1 ? tokens[1].size() == 2 || tokens[0].size() % 2 == 1 : offset_seen);
    if (!offset) {
        return {"", tokens};
    }
    return {tokens[0], {tokens.begin() + 1, tokens.end()}};
}

} // namespace

records::Bytes parse_hex(std::string_view text, const std::string &name) {
    constexpr std::size_t octal_offset = 7; // digits of an offset of od
    constexpr std::size_t most_bytes = 1 << 20;
    records::Bytes bytes, line_bytes;
    std::optional<std::uint64_t> begin;
    bool repeated = false;
    std::size_t number = 1;
    const auto fail = [&](const std::string &problem) {
        const bool lines = text.find('\n') != text.npos;
        throw Failure(
            exit_bad_input,
            fmt::format("{}{}: {}", name, lines ? fmt::format(":{}", number) : "", problem));
    };
    for (std::size_t from = 0; from < text.size(); ++number) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        const std::string_view whole = text.substr(from, end - from);
        from = end + 1;
        if (whole == "*") {
            repeated = true;
            continue;
        }
        const Line line = line_of(whole, begin.has_value());
        if (!line.offset.empty()) {
            std::uint64_t offset = 0;
            std::from_chars(line.offset.data(), line.offset.data() + line.offset.size(), offset,
                            line.offset.size() == octal_offset ? 8 : 16);
            begin = begin.value_or(offset);
            for (std::size_t i = 0; repeated && !line_bytes.empty() &&
                                    bytes.size() < offset - *begin && bytes.size() < most_bytes;
                 ++i) {
                bytes.push_back(line_bytes[i % line_bytes.size()]);
            }
            repeated = false;
        }
        if (repeated) {
            fail("found * without offsets, expected a dump of all bytes, as with -v");
        }
        line_bytes.clear();
        for (std::string_view token : line.tokens) {
            const bool prefixed = token.starts_with("0x");
            token.remove_prefix(prefixed ? 2 : 0);
            if (is_hex(token) &&
                (prefixed ? token.size() > 2
                          : line.offset.size() == octal_offset && token.size() != 2)) {
                fail(
                    fmt::format("found the word {}, whose byte order is unknown, expected bytes as "
                                "of gdb's x/xb, hexdump -C, od -t x1 or xxd",
                                records::in_quotes(token)));
            }
            if (!is_hex(token) || token.size() % 2 != 0) {
                fail(fmt::format("found {}, expected pairs of hexadecimal digits",
                                 records::in_quotes(token)));
            }
            for (std::size_t i = 0; i < token.size(); i += 2) {
                unsigned byte = 0;
                std::from_chars(token.data() + i, token.data() + i + 2, byte, 16);
                line_bytes.push_back(static_cast<std::byte>(byte));
            }
        }
        bytes.insert(bytes.end(), line_bytes.begin(), line_bytes.end());
    }
    return bytes;
}

} // namespace l2vpn::tool
