// SPDX-License-Identifier: MIT
// Records from JSON, as record_reader.h tells.
#pragma once

#include <string_view>

#include "records/record_reader.h"

namespace l2vpn::records {

/// Whether it is a line of JSON Lines, perhaps a wrong one, and not the beginning of a longer text.
/// @param text  not blank
bool is_json_line(std::string_view text);

/// One object of tables, in as many lines as it has.
void read_json(InputFile &source, RecordSink &sink);

/// One object of tables on each line that is not blank; a wrong line does not harm the next one.
void read_json_lines(InputFile &source, RecordSink &sink);

} // namespace l2vpn::records
