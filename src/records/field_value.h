// SPDX-License-Identifier: MIT
// One field's value: from an input into the record, and from the record to people.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "records/table_schema.h"
#include "records/value.h"

namespace l2vpn::records {

/// How values are written: addresses as people write them, or everything as numbers.
enum class Style : std::uint8_t { display, raw };

/// Sets the field of the record; false, with the record unchanged, if the value does not fit.
/// A number's text is for IPv4 addresses only, as in JSON.
bool set_field(const Field &field, const Value &value, std::byte *record);

/// A word of a command line or a cell of CSV, where nothing tells a number from a text but what the
/// field takes: numbers also in hexadecimal, lists as "1,0", and 0 for bytes that are all 0.
Value parse_word(const Field &field, std::string_view word);

/// What the field takes: "a number from 0 to 255".
std::string expected_value(const Field &field);

/// The field of the record, as parse_word takes it.
std::string field_text(const Field &field, const std::byte *record, Style style = Style::display);

/// The same as JSON, as set_field takes it.
std::string field_json(const Field &field, const std::byte *record, Style style);

/// The record's primary key for messages: "vrIndex 1, instanceId 100".
std::string primary_key_text(const Table &table, const Bytes &record);

} // namespace l2vpn::records
