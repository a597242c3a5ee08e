// SPDX-License-Identifier: MIT
// One field's value: from the file into the record, and from the record into messages.
#pragma once

#include <cstddef>
#include <string>

#include "json_lines.h"
#include "table.h"

namespace l2vpn::demo {

/// Sets the field of the record; false, with the record unchanged, if the value does not fit.
bool set_field(const Field &field, const JsonValue &value, std::byte *record);

/// What the field takes: "a number from 0 to 255".
std::string expected_value(const Field &field);

/// The field of the record, as the file would give it.
std::string field_text(const Field &field, const std::byte *record);

} // namespace l2vpn::demo
