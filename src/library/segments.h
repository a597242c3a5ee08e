// SPDX-License-Identifier: MIT
// A list of byte segments, computed and merged at compile time and copied by straight-line code.
// Conversions and key builders are such lists.
#pragma once

#include <cstdint>
#include <utility>

#include "l2vpn_db/platform.h"
#include "library/bytes.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// Consecutive bytes of a caller record and their place in the packed form: a stored record or a
/// key.
struct Segment {
    std::size_t caller;
    std::size_t packed;
    std::size_t width;
    bool plain; ///< copied by moves; else by memcpy_s
};

enum class Direction { to_packed, to_caller };

template <std::size_t Capacity>
struct Segments {
    Segment items[Capacity]{};
    std::size_t count = 0;

    /// Merges a plain segment that continues the previous one in both layouts.
    constexpr void add(const Segment &segment) {
        Segment *last = count == 0 ? nullptr : &items[count - 1];
        if (last != nullptr && last->plain && segment.plain &&
            last->caller + last->width == segment.caller &&
            last->packed + last->width == segment.packed)
            last->width += segment.width;
        else
            items[count++] = segment;
    }
};

template <Direction To, Segment Item>
inline void copy_segment(char *to, const char *from, std::uint32_t &result) {
    constexpr bool packing = To == Direction::to_packed;
    to += packing ? Item.packed : Item.caller;
    from += packing ? Item.caller : Item.packed;
    if constexpr (Item.plain)
        copy<Item.width>(to, from);
    else
        result = static_cast<std::uint32_t>(memcpy_s(to, Item.width, from, Item.width));
}

/// Copies all segments in list order.
/// @return the result of the last memcpy_s, 0 without one
template <Direction To, auto List>
inline std::uint32_t copy_segments(void *to, const void *from) {
    std::uint32_t result = 0;
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (copy_segment<To, List.items[I]>(static_cast<char *>(to), static_cast<const char *>(from),
                                         result),
         ...);
    }
    (std::make_index_sequence<List.count>{});
    return result;
}

} // namespace l2vpn
