// SPDX-License-Identifier: MIT
// A table found by its name at run time: its schema and generic interface, and the layout of its
// records. Nothing here knows a record type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "l2vpn_db/l2vpn_db.h"
#include "records/table_functions.h"

namespace l2vpn::records {

/// A caller record of some table.
using Bytes = std::vector<std::byte>;

struct Field {
    std::string name;
    std::uint32_t id;
    std::size_t offset; ///< in the caller record
    std::size_t width;
    std::size_t stored_offset;
    std::size_t elements; ///< 2 in an array that takes two field ids, else 1
    Display display;
};

struct Key {
    std::string name;
    std::uint32_t index;        ///< 0 for the primary key
    std::vector<Field> members; ///< in key order

    std::size_t length() const;
    /// The key identifier word.
    std::uint32_t word() const;
};

struct Table {
    std::string name;
    std::size_t record_size;
    std::size_t stored_size;   ///< of the packed fields
    std::vector<Field> fields; ///< in record order
    std::vector<Key> keys;     ///< in key index order, the primary key first
    L2vpnAstFormatFn format;
    TableFunctions functions;
    /// None in a table that can only be described and formatted.
    std::optional<L2vpnDalIntf> access;

    const Field *field(std::string_view field_name) const;
    const Key *key(std::string_view key_name) const;
    const Key &primary_key() const { return keys.front(); }
};

/// All tables with a schema descriptor, in alphabetical order.
const std::vector<Table> &tables();

/// Returns null if there is no such table.
const Table *find_table(std::string_view name);

/// Candidates for suggestions.
std::vector<std::string> table_names();
std::vector<std::string> field_names(const std::vector<Field> &fields);
std::vector<std::string> key_names(const Table &table);

/// The key's members, packed as in a key buffer.
Bytes key_of(const Key &key, const Bytes &record);

/// Numbers of 1 to 8 bytes.
void put_number(std::byte *at, std::size_t width, std::uint64_t number);
std::uint64_t get_number(const std::byte *at, std::size_t width);

} // namespace l2vpn::records
