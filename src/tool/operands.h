// SPDX-License-Identifier: MIT
// Operands of commands: tables, fields, keys and records named on the command line.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "records/record_reader.h"
#include "records/table_schema.h"

namespace l2vpn::tool {

using records::Bytes;
using records::Field;
using records::Key;
using records::Table;

/// @throws Failure, with a suggestion, if the name is unknown
const Table &table_named(const std::string &name);
const Field &field_named(const Table &table, const std::string &name);
const Key &key_named(const Table &table, const std::string &name);

/// The same for a table with typed access.
const Table &stored_table_named(const std::string &name);

/// The tables of these names; all tables without names.
std::vector<const Table *> tables_named(const std::vector<std::string> &names);
/// The same for tables with typed access.
std::vector<const Table *> stored_tables_named(const std::vector<std::string> &names);

/// A field's bytes in a record, or the padding between fields.
struct Extent {
    std::size_t offset, width;
    const Field *field; ///< null for padding
};
/// The whole record from its first byte to its last.
/// @param offset  of a field in this record: Field::offset or Field::stored_offset
std::vector<Extent> extents_of(const Table &table, std::size_t size, std::size_t Field::*offset);

/// "mtu,vcType"; all fields if it is empty.
std::vector<Field> fields_listed(const Table &table, const std::string &list);

/// Parses "field=value" arguments into a record and the set of fields that they name.
/// @param required  a key whose members must be among them; may be null
records::InputRecord input_record(const Table &table, const std::vector<std::string> &values,
                                  const Key *required);
/// The record alone. Other fields are 0.
Bytes record_of(const Table &table, const std::vector<std::string> &values);
/// The same, with all of a key's members and, if `only`, nothing else.
Bytes record_with_key(const Table &table, const Key &key, const std::vector<std::string> &values,
                      bool only);
bool has_member(const Key &key, const std::string &name);
/// The key of this name or, without a name, with exactly these members.
const Key &key_for(const Table &table, const std::string &name,
                   const std::vector<std::string> &values);

/// "not found" or "result 0x7".
std::string result_text(std::uint32_t result);
/// @throws Failure if it is not L2VPN_DB_OK
void check(std::uint32_t result, const std::string &what);

std::uint32_t count(const Table &table);

using Visitor = std::function<void(const Bytes &)>;
/// Visits the records that match the record in a key; all records of the table without a record.
void walk(const Table &table, const Key &key, const Bytes *record, const Visitor &visit);

} // namespace l2vpn::tool
