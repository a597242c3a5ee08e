// SPDX-License-Identifier: MIT
// The value of a field: parsing input into the record, and formatting it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "records/table_schema.h"
#include "records/value.h"

namespace l2vpn::records {

/// Output style: addresses in their usual notation, or everything as numbers.
enum class Style : std::uint8_t { display, raw };

/// Whether the field is an integer, however it is displayed.
bool is_number(const Field &field);

/// Sets the field of the record. Returns false, with the record unchanged, if the value is invalid.
/// Text is valid only for a field that is displayed as text, for example an address.
bool set_field(const Field &field, const Value &value, std::byte *record);

/// Parses a word of a command line or a cell of CSV. The field's type decides between number and
/// text: numbers also in hexadecimal, lists as "1,0", and 0 for bytes that are all 0.
Value parse_word(const Field &field, std::string_view word);

/// A description of valid values: "a number from 0 to 255".
std::string expected_value(const Field &field);

/// The field of the record, in the syntax of parse_word().
std::string field_text(const Field &field, const std::byte *record, Style style = Style::display);

/// The field of the record as JSON, in the form that set_field() accepts.
std::string field_json(const Field &field, const std::byte *record, Style style);

/// The record's primary key for messages: "vrIndex 1, instanceId 100".
std::string primary_key_text(const Table &table, const Bytes &record);

} // namespace l2vpn::records
