// SPDX-License-Identifier: MIT
// Reads records from text and checks them against the tables' schemas, one at a time, so that a
// text may be longer than the memory. A text is one of these, which its beginning tells:
//   JSON        {"<table>": [{"<field>": value, ...}, ...], ...}
//   JSON Lines  such an object on every line
//   CSV         a line of field names, and a line per record; the table is named by the caller, or
//               by the file: l2vpn_vpls_pw.csv
// Fields that are not given are 0. In JSON, a value is
//   a number                  for a field of 1, 2, 4 or 8 bytes; 4 bytes also as "192.0.2.1"
//   a list of two numbers     for an array of two bytes
//   text, "00:1b:44:11:3a:b7" for a MAC address or other opaque bytes, or a list of their numbers
// and in CSV what parse_word takes. A member "version" beside the tables states the version of the
// form, which is record_version.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "records/diagnostic.h"
#include "records/input_file.h"
#include "records/table_schema.h"
#include "records/value.h"

namespace l2vpn::records {

constexpr std::uint64_t record_version = 1;

/// Takes what a reader finds.
class RecordSink {
public:
    RecordSink() = default;
    RecordSink(const RecordSink &) = delete;
    RecordSink &operator=(const RecordSink &) = delete;
    virtual ~RecordSink() = default;

    /// A right record of a table that has access.
    /// @param line  where it begins
    virtual void record(const Table &table, std::size_t line, const Bytes &record) = 0;
    virtual void report(const Diagnostic &diagnostic) = 0;
};

/// Reads to the end, or to where nothing can be read any more.
/// @param csv_table  the table of CSV; if empty, the file's name tells
void read_records(InputFile &source, const std::string &csv_table, RecordSink &sink);

/// Puts a record together from its fields and hands it on if all of them are right.
class RecordBuilder {
public:
    explicit RecordBuilder(RecordSink &sink) : sink_(sink) {}

    void begin(const Table &table, std::size_t line);
    /// @param line  of the field's name
    void field(const std::string &name, std::size_t line, const Value &value);
    void field(const Field &field, std::size_t line, const Value &value);
    void end();

private:
    void report(const Diagnostic &diagnostic);

    RecordSink &sink_;
    const Table *table_ = nullptr;
    std::size_t line_ = 0;
    Bytes record_;
    std::vector<std::size_t> given_in_; ///< for each field the line of its name, 0 before
    bool right_ = true;
};

/// The table, if it has one of that name and access.
const Table *stored_table(const std::string &name, std::size_t line, RecordSink &sink);

} // namespace l2vpn::records
