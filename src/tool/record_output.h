// SPDX-License-Identifier: MIT
// Records as results, as lines of the library, and in output files.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tool/command.h"
#include "tool/operands.h"
#include "tool/result_table.h"

namespace l2vpn::tool {

/// Prints one record in the form that the arguments ask for; vertically as text.
void print_record(const Table &table, const Arguments &arguments, const Bytes &record);

/// Calls a visitor with each record, as often as it is called.
using Records = std::function<void(const Visitor &visit)>;

/// Writes records of one table in the form that the arguments ask for.
/// @return the number of records
std::size_t write_records(const Table &table, const Arguments &arguments, const Records &records,
                          std::FILE *to);

/// Output of a command: a regular file, which is replaced when it is complete; standard output; or
/// a device or pipe, which is written in place.
class OutputFile {
public:
    /// @param path  empty or "-" for standard output
    /// @throws records::FileError
    explicit OutputFile(const std::string &path);
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    /// Discards a file that is not finished.
    ~OutputFile();

    std::FILE *file() const { return file_; }
    void finish();

private:
    std::string path_, unfinished_;
    std::FILE *file_ = nullptr;
};

} // namespace l2vpn::tool
