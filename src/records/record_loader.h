// SPDX-License-Identifier: MIT
// Loads record files (record_reader.h) into the tables.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>

#include "records/diagnostic.h"
#include "records/input_file.h"

namespace l2vpn::records {

struct LoadOptions {
    std::string csv_table = {}; ///< the table of CSV; if empty, the name of the file
    bool merge = false;         ///< fields that the file omits keep their stored values
    bool keep_going = false;    ///< skip invalid records, not the whole file
    /// Called for each record.
    std::function<void(std::size_t stored, const InputFile &file)> progress = {};
};

struct LoadResult {
    std::map<std::string, std::size_t> tables; ///< records stored in each table
    std::size_t stored = 0;
    std::size_t replaced = 0; ///< of these, records that replaced another or were merged into it
    Diagnostics diagnostics;  ///< of the file's contents
    std::string failure;      ///< any other error: the file cannot be read, memory is exhausted

    /// Diagnostics and failure, in lines.
    std::string errors() const;
};

/// Stores all records of a file, in order, or none. An invalid record, unless `keep_going`, and any
/// other failure leave the tables as they were; if they cannot be restored, `failure` gives the
/// number of records concerned. A later record with the same primary key replaces an earlier one.
/// @param path  "-" for standard input
/// @throws Interrupted, with nothing stored
LoadResult load(const std::string &path, const LoadOptions &options = {});

} // namespace l2vpn::records
