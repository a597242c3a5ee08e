// SPDX-License-Identifier: MIT
// A table found by its name at run time: its schema descriptor and generic interface, and the
// layout of its records. Nothing here knows a record type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "l2vpn_db/l2vpn_db.h"

namespace l2vpn::demo {

struct Field {
    enum class Kind : std::uint8_t {
        number, ///< an unsigned number of 1, 2, 4 or 8 bytes
        pair,   ///< two elements of one byte each
        bytes,  ///< a MAC address or other opaque bytes
    };

    std::string name;
    std::uint32_t id;
    std::size_t offset;
    std::size_t width;
    Kind kind;
};

struct Table {
    std::string name;
    std::size_t record_size;
    std::vector<Field> fields;      ///< in record order
    std::vector<Field> primary_key; ///< in key order
    /// None in a table that can only be described and formatted.
    std::optional<L2vpnDalIntf> access;

    const Field *field(const std::string &field_name) const;
};

/// Finds a table among the loaded libraries' exports; none if there is no such table.
std::optional<Table> find_table(const std::string &name);

/// All tables with a schema descriptor, in alphabetical order.
const std::vector<std::string> &table_names();

/// Width is 1, 2, 4 or 8.
void put_number(std::byte *at, std::size_t width, std::uint64_t number);
std::uint64_t get_number(const std::byte *at, std::size_t width);

} // namespace l2vpn::demo
