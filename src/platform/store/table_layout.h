// SPDX-License-Identifier: MIT
// The layout of stored records: their length and the position of the keys' members. Generated from
// the catalog, one entry per table with typed access.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace l2vpn::platform {

/// One member of a key, in bytes of the stored record.
struct KeyMember {
    std::uint16_t offset;
    std::uint16_t width;
};

/// One key: its members in key order, and the sum of their widths.
struct KeyLayout {
    std::span<const KeyMember> members;
    std::uint16_t length;
};

/// One table. keys[0] is the primary key; the others are secondary, in key index order.
struct TableLayout {
    static constexpr std::uint32_t no_field = UINT32_MAX;

    const char *name;                   ///< "l2vpn_..."
    std::uint32_t stored_length;        ///< length of a stored record
    std::uint32_t batch_version_offset; ///< in the stored record, no_field if it has none
    std::span<const KeyLayout> keys;
};

/// The limit of the number of tables.
inline constexpr std::size_t max_tables = 4096;

/// All tables with typed access, in alphabetical order.
extern const std::span<const TableLayout> table_layouts;

} // namespace l2vpn::platform
