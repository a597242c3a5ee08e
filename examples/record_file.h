// SPDX-License-Identifier: MIT
// A file of records (src/records/record_reader.h) in memory: read and checked as a whole, and then
// stored as a whole.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "records/table_schema.h"

namespace l2vpn::demo {

struct Record {
    std::size_t line;
    records::Bytes bytes;
};

struct TableRecords {
    records::Table table; ///< has access
    std::vector<Record> records;
};

struct RecordFile {
    std::string path;
    std::vector<TableRecords> tables; ///< in the order of the file; empty if there are errors
    std::vector<std::string> errors;  ///< in the order of the file, each with file and line
};

/// Reads and checks a whole file, in which no primary key may stand twice. Stores nothing.
RecordFile read_record_file(const std::string &path);

/// Stores all records, or none: if one is refused, those before it are put back as they were.
/// @return what went wrong, none if nothing
std::optional<std::string> store_records(const RecordFile &file);

} // namespace l2vpn::demo
