// SPDX-License-Identifier: MIT
// Bytes from the hexadecimal dumps of common tools.
#pragma once

#include <string>
#include <string_view>

#include "records/table_schema.h"

namespace l2vpn::tool {

/// Parses pairs of digits, alone or as xxd, hexdump -C, od -t x1 and gdb's x/xb print them.
/// Offsets and ASCII columns are skipped; a * repeats the line above it.
/// @param name  of the input, for error messages
/// @throws Failure
records::Bytes parse_hex(std::string_view text, const std::string &name);

} // namespace l2vpn::tool
