// SPDX-License-Identifier: MIT
// Reads records from JSON. record_reader.h describes the form.
#pragma once

#include <string_view>

#include "records/record_reader.h"

namespace l2vpn::records {

/// Whether the line is JSON Lines, possibly with an error, rather than the beginning of an object
/// that spans several lines.
/// @param text  not blank
bool is_json_line(std::string_view text);

/// Reads one object of tables, in any number of lines.
void read_json(InputFile &source, RecordSink &sink);

/// Reads an object of tables from each line that is not blank. An error in one line does not affect
/// the next.
void read_json_lines(InputFile &source, RecordSink &sink);

} // namespace l2vpn::records
