// SPDX-License-Identifier: MIT
#include "records/record_reader.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "records/csv_reader.h"
#include "records/field_value.h"
#include "records/json_reader.h"

namespace l2vpn::records {
namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

/// Field names begin with a letter, JSON objects do not.
bool is_csv(char first) {
    return first == '"' || (first >= 'a' && first <= 'z') || (first >= 'A' && first <= 'Z');
}

/// Skips a byte order mark and blanks.
void skip_to_beginning(InputFile &source) {
    if (source.line_ahead().starts_with(byte_order_mark)) {
        for (std::size_t i = 0; i < byte_order_mark.size(); ++i) {
            source.skip();
        }
    }
    while (source.peek() == ' ' || source.peek() == '\t' || source.peek() == '\r' ||
           source.peek() == '\n') {
        source.skip();
    }
}

} // namespace

const Table *stored_table(const std::string &name, std::size_t line, RecordSink &sink) {
    const Table *const table = find_table(name);
    if (table == nullptr) {
        sink.report(unknown_name(line, "", "table", name, table_names()));
        return nullptr;
    }
    if (!table->access) {
        sink.report(mismatch(line, place_of(name), "a table that can only be formatted",
                             "one that is stored"));
        return nullptr;
    }
    return table;
}

Diagnostic missing_member(std::size_t line, const Table &table, const Key &key,
                          const Field &member) {
    return mismatch(line, fmt::format("{}, key {}", place_of(table.name), in_quotes(key.name)),
                    "no " + member.name,
                    fmt::format("all of {}", fmt::join(field_names(key.members), ", ")));
}

Bytes InputRecord::merged_into(Bytes stored) const {
    for (std::size_t i = 0; i < given.size(); ++i) {
        const Field &field = table->fields[i];
        if (given[i] != 0) {
            std::copy_n(bytes.data() + field.offset, field.width, stored.data() + field.offset);
        }
    }
    return stored;
}

void RecordBuilder::begin(const Table &table, std::size_t line) {
    record_.table = &table;
    record_.line = line;
    record_.bytes.assign(table.record_size, std::byte{0});
    record_.given.assign(table.fields.size(), 0);
    valid_ = true;
}

void RecordBuilder::field(const std::string &name, std::size_t line, const Value &value) {
    const Table &table = *record_.table;
    if (const Field *const known = table.field(name)) {
        return field(*known, line, value);
    }
    report(unknown_name(line, place_of(table.name), "field", name, field_names(table.fields)));
}

void RecordBuilder::field(const Field &field, std::size_t line, const Value &value) {
    const Table &table = *record_.table;
    std::size_t &first = record_.given[static_cast<std::size_t>(&field - table.fields.data())];
    if (first != 0) {
        report(mismatch(line, place_of(table.name, field.name),
                        fmt::format("a second time, first in line {}", first), "once"));
    } else if (!set_field(field, value, record_.bytes.data())) {
        report(mismatch(value.line, place_of(table.name, field.name), describe(value),
                        expected_value(field)));
    }
    first = first == 0 ? line : first;
}

void RecordBuilder::end(const Key *required) {
    const Table &table = *record_.table;
    if (!valid_) {
        return; // a missing member may be a misspelt one
    }
    for (std::size_t i = 0; required != nullptr && i < required->members.size(); ++i) {
        const Field &member = required->members[i];
        const auto field = std::ranges::find(table.fields, member.id, &Field::id);
        if (record_.given[static_cast<std::size_t>(field - table.fields.begin())] == 0) {
            return report(missing_member(record_.line, table, *required, member));
        }
    }
    sink_.record(record_);
}

void RecordBuilder::report(const Diagnostic &diagnostic) {
    valid_ = false;
    sink_.report(diagnostic);
}

void read_records(InputFile &source, const std::string &csv_table, RecordSink &sink) {
    skip_to_beginning(source);
    if (source.peek() == InputFile::end) {
        sink.report(mismatch(1, "", "an empty file", "an object of tables"));
    } else if (is_csv(static_cast<char>(source.peek()))) {
        const std::string stem = std::filesystem::path(source.name()).stem();
        if (csv_table.empty() && find_table(stem) == nullptr) {
            return sink.report(mismatch(
                source.line(), "", "text that is not JSON",
                "an object of tables, or CSV in a file or with --table that names its table"));
        }
        read_csv(source, csv_table.empty() ? stem : csv_table, sink);
    } else if (is_json_line(source.line_ahead())) {
        read_json_lines(source, sink);
    } else {
        read_json(source, sink);
    }
}

} // namespace l2vpn::records
