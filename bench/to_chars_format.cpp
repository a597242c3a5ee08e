// SPDX-License-Identifier: MIT
// Formats a pseudowire in one pass: copies names and separators, converts values by std::to_chars.
#include "bench/to_chars_format.h"

#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>

#include "facts/l2vpn_vpls_pw.h"

namespace l2vpn::bench {

namespace {

using Table = L2vpnVplsPwTable;

template <class Value>
char *put_value(char *at, char *end, const char *from, int base = 10) {
    Value value;
    std::memcpy(&value, from, sizeof value);
    return std::to_chars(at, end, value, base).ptr;
}

template <std::size_t I>
char *put_field(char *at, char *end, const char *from) {
    constexpr Field field = Table::fields[I];
    constexpr std::string_view name = field.name;
    std::memcpy(at, name.data(), name.size());
    at += name.size();
    *at++ = ':';
    from += field.offset;
    if constexpr (field.kind == Kind::context) {
        *at++ = '0';
        *at++ = 'x';
        for (std::size_t i = 0; i < field.width; i += sizeof(std::uint32_t)) {
            *at++ = ' ';
            at = put_value<std::uint32_t>(at, end, from + i, 16);
        }
        return at;
    } else if constexpr (field.kind == Kind::pair) {
        at = put_value<std::uint8_t>(at, end, from);
        *at++ = ' ';
        return put_value<std::uint8_t>(at, end, from + 1);
    } else if constexpr (field.width == 1) {
        return put_value<std::uint8_t>(at, end, from);
    } else {
        static_assert(field.kind == Kind::integer && field.width == sizeof(std::uint32_t));
        return put_value<std::uint32_t>(at, end, from);
    }
}

} // namespace

std::uint32_t to_chars_format(const L2vpnVplsPw &record, char *buffer, std::uint32_t length) {
    constexpr std::string_view separator = ", ";
    const auto *const from = reinterpret_cast<const char *>(&record);
    char *at = buffer;
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        const auto put = [&]<std::size_t N>(std::integral_constant<std::size_t, N>) {
            if constexpr (Table::fields[N].printed) {
                if (at != buffer) {
                    std::memcpy(at, separator.data(), separator.size());
                    at += separator.size();
                }
                at = put_field<N>(at, buffer + length, from);
            }
        };
        (put(std::integral_constant<std::size_t, I>{}), ...);
    }
    (std::make_index_sequence<field_count<Table>>{});
    *at = '\0';
    return static_cast<std::uint32_t>(at - buffer);
}

} // namespace l2vpn::bench
