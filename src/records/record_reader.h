// SPDX-License-Identifier: MIT
// Reads records from a file and checks them against the schemas, one at a time, so that a file may
// be larger than memory. The beginning of a file determines its form:
//   JSON        {"<table>": [{"<field>": value, ...}, ...], ...}
//   JSON Lines  such an object on every line
//   CSV         a line of field names, and a line per record; the caller or the name of the file
//               names the table: l2vpn_vpls_pw.csv
// Every record contains all members of its primary key. In JSON, a value is
//   a number                  for a field of 1, 2, 4 or 8 bytes; 4 bytes also as "192.0.2.1"
//   a list of two numbers     for an array of two bytes
//   text, "00:1b:44:11:3a:b7" for a MAC address or other opaque bytes, or a list of their numbers
// and in CSV a word for parse_word. A member "version" beside the tables must be record_version.
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

/// A record of an input file.
struct InputRecord {
    const Table *table;             ///< a table with typed access
    std::size_t line;               ///< its first line
    Bytes bytes;                    ///< fields that are not given are 0
    std::vector<std::size_t> given; ///< per field, the line of its name; 0 if not given

    /// The stored record with the given fields set.
    Bytes merged_into(Bytes stored) const;
};

class RecordSink {
public:
    RecordSink() = default;
    RecordSink(const RecordSink &) = delete;
    RecordSink &operator=(const RecordSink &) = delete;
    virtual ~RecordSink() = default;

    virtual void record(const InputRecord &record) = 0;
    virtual void report(const Diagnostic &diagnostic) = 0;
};

/// Reads to the end, or to a syntax error in JSON.
/// @param csv_table  the table of CSV; if empty, the name of the file
void read_records(InputFile &source, const std::string &csv_table, RecordSink &sink);

/// Builds a record from its fields, and passes it on if all of them are valid.
class RecordBuilder {
public:
    explicit RecordBuilder(RecordSink &sink) : sink_(sink) {}

    void begin(const Table &table, std::size_t line);
    /// @param line  the line of the field name
    void field(const std::string &name, std::size_t line, const Value &value);
    void field(const Field &field, std::size_t line, const Value &value);
    /// @param required  a key whose members must be given; may be null
    void end(const Key *required);

private:
    void report(const Diagnostic &diagnostic);

    RecordSink &sink_;
    InputRecord record_{};
    bool valid_ = true;
};

/// Reports a record without a member of a key.
Diagnostic missing_member(std::size_t line, const Table &table, const Key &key,
                          const Field &member);

/// The table; null, with a diagnostic, if it does not exist or has no typed access.
const Table *stored_table(const std::string &name, std::size_t line, RecordSink &sink);

} // namespace l2vpn::records
