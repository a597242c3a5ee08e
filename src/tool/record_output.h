// SPDX-License-Identifier: MIT
// Records on standard output or in a file: in columns, as the library's lines, as CSV or as JSON.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tool/operands.h"
#include "tool/command.h"

namespace l2vpn::tool {

/// The JSON that all of the tool's output is: one object a line, which begins with the version.
std::string json_line(const std::string &members);
/// With one member beside the version. What is not UTF-8, as a file's name may be, is replaced.
std::string json_line(const char *name, const nlohmann::ordered_json &value);

/// A record as JSON that can be loaded: {"version":1,"l2vpn_vpls_pw":[{...}]}.
std::string record_json(const Table &table, const std::vector<Field> &fields, const Bytes &record,
                        records::Style style);

/// The library's own one-line form.
std::string record_line(const Table &table, const Bytes &record);

/// One record as the arguments want it; lines of "name  value" if they want nothing else.
void print_record(const Table &table, const Arguments &arguments, const Bytes &record);

/// Calls a visitor with each of some records, and does so again when asked again.
using Records = std::function<void(const Visitor &visit)>;

/// Writes records of one table as the arguments want them.
/// @return how many
std::size_t write_records(const Table &table, const Arguments &arguments, const Records &records,
                          std::FILE *to);

/// What a command writes: a file that is there as a whole or not at all, or standard output, or
/// what takes everything as it comes, as a pipe does.
class OutputFile {
public:
    /// @param path  empty or "-" for standard output
    /// @throws records::FileError
    explicit OutputFile(const std::string &path);
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    /// Forgets what was not finished.
    ~OutputFile();

    std::FILE *file() const { return file_; }
    void finish();

private:
    std::string path_, unfinished_;
    std::FILE *file_ = nullptr;
};

} // namespace l2vpn::tool
