// SPDX-License-Identifier: MIT
// Straight-line copies and clears of constant length. The compiler would turn a long constant copy
// into a call or a string instruction; pieces of at most 16 bytes always become plain moves.
#pragma once

#include <bit>
#include <cstddef>

namespace [[gnu::visibility("hidden")]] l2vpn {

/// Width of the widest move that fits.
constexpr std::size_t piece(std::size_t length) {
    return length < 16 ? std::bit_floor(length) : 16;
}

/// Whether the last piece overlaps the one before it, because no single move has its width.
constexpr bool overlaps(std::size_t length) {
    const std::size_t rest = length - piece(length);
    return rest < piece(length) && !std::has_single_bit(rest) && rest != 0;
}

/// Copies Length bytes between buffers that do not overlap.
template <std::size_t Length>
inline void copy(char *to, const char *from) {
    if constexpr (Length != 0) {
        constexpr std::size_t size = piece(Length);
        __builtin_memcpy(to, from, size);
        if constexpr (overlaps(Length))
            __builtin_memcpy(to + Length - size, from + Length - size, size);
        else
            copy<Length - size>(to + size, from + size);
    }
}

/// Loads a value from an address of any alignment.
template <class Value>
inline Value load(const char *at) {
    Value value;
    __builtin_memcpy(&value, at, sizeof value);
    return value;
}

/// Sets Length bytes to 0.
template <std::size_t Length>
inline void clear(char *to) {
    if constexpr (Length != 0) {
        constexpr std::size_t size = piece(Length);
        __builtin_memset(to, 0, size);
        if constexpr (overlaps(Length))
            __builtin_memset(to + Length - size, 0, size);
        else
            clear<Length - size>(to + size);
    }
}

} // namespace l2vpn
