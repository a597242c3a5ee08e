// SPDX-License-Identifier: MIT
// Records from CSV (RFC 4180), as record_reader.h tells.
#pragma once

#include <string>
#include <string_view>

#include "records/record_reader.h"

namespace l2vpn::records {

/// Records of one table.
void read_csv(InputFile &source, const std::string &table, RecordSink &sink);

/// As a cell of CSV, quoted if it must be.
std::string csv_cell(std::string_view text);

} // namespace l2vpn::records
