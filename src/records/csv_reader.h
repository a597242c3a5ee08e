// SPDX-License-Identifier: MIT
// Reads records from CSV (RFC 4180). record_reader.h describes the form.
#pragma once

#include <string>
#include <string_view>

#include "records/record_reader.h"

namespace l2vpn::records {

/// Reads records of one table.
void read_csv(InputFile &source, const std::string &table, RecordSink &sink);

/// Quotes the text if CSV requires it.
std::string csv_cell(std::string_view text);

} // namespace l2vpn::records
