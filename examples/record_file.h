// SPDX-License-Identifier: MIT
// Reads a file of records, {"<table>": [{"<field>": value, ...}, ...], ...}, and checks it against
// the tables' schemas. Fields that are not given are 0. A value is
//   a number                  for a field of 1, 2, 4 or 8 bytes; 4 bytes also as "192.0.2.1"
//   a list of two numbers     for an array of two bytes
//   text, "00:1b:44:11:3a:b7" for a MAC address or other opaque bytes
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "table.h"

namespace l2vpn::demo {

struct Record {
    std::size_t line;
    std::vector<std::byte> bytes; ///< a caller record of the table
};

struct TableRecords {
    Table table; ///< has access
    std::vector<Record> records;
};

struct RecordFile {
    std::string path;
    std::vector<TableRecords> tables; ///< in the order of the file; empty if there are errors
    std::vector<std::string> errors;  ///< in the order of the file, each with file and line
};

/// Reads and checks a whole file. Stores nothing.
RecordFile read_record_file(const std::string &path);

/// The record's primary key for messages: "vrIndex 1, instanceId 100".
std::string primary_key_text(const Table &table, const std::vector<std::byte> &record);

} // namespace l2vpn::demo
