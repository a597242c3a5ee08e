// SPDX-License-Identifier: MIT
#include "records/csv_reader.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "records/field_value.h"

namespace l2vpn::records {
namespace {

/// A longer cell probably lacks its closing quotation mark.
constexpr std::size_t max_cell = 65536;

class RowReader {
public:
    explicit RowReader(InputFile &source) : source_(source) {}

    /// Reads the next row that is not blank.
    /// @param problem  out, the error in the row; empty if it is valid
    /// @return false at the end
    bool next(std::vector<std::string> &cells, std::string &problem) {
        problem.clear();
        do {
            cells.clear();
            if (source_.peek() == InputFile::end) {
                return false;
            }
            begin_ = true;
            while (cell(cells.emplace_back(), problem)) {
            }
        } while (cells.size() == 1 && cells[0].empty() && problem.empty());
        return true;
    }

    /// The first line of the row.
    std::size_t line() const { return line_; }

private:
    /// Reads a cell and its delimiter. Returns false if that ends the row.
    bool cell(std::string &text, std::string &problem) {
        bool quoted = false;     // inside quotation marks
        bool was_quoted = false; // after them
        while (true) {
            const int next = source_.peek();
            if (next == InputFile::end) {
                if (quoted) {
                    problem = "an unclosed quotation mark";
                }
                return false;
            }
            source_.skip();
            if (std::exchange(begin_, false)) {
                line_ = source_.line();
            }
            const char character = static_cast<char>(next);
            if (quoted) {
                if (character != '"') {
                    text += character;
                } else if (source_.peek() == '"') {
                    source_.skip();
                    text += character;
                } else {
                    quoted = false;
                    was_quoted = true;
                }
            } else if (character == ',' || character == '\n') {
                return character == ',';
            } else if (character == '\r' && source_.peek() == '\n') {
                continue;
            } else if (was_quoted || (character == '"' && !text.empty())) {
                problem = "a quotation mark within a cell";
            } else if (character == '"') {
                quoted = true;
            } else {
                text += character;
            }
            if (text.size() > max_cell) {
                problem = fmt::format("a cell of more than {} characters", max_cell);
                text.clear();
            }
        }
    }

    InputFile &source_;
    std::size_t line_ = 0;
    bool begin_ = true;
};

/// The fields of the columns; empty if one is unknown, or a member of the primary key is missing.
std::vector<const Field *> columns_of(const Table &table, const std::vector<std::string> &names,
                                      std::size_t line, RecordSink &sink) {
    std::vector<const Field *> columns;
    bool valid = true;
    for (const std::string &name : names) {
        const Field *const field = table.field(name);
        if (field == nullptr) {
            sink.report(
                unknown_name(line, place_of(table.name), "field", name, field_names(table.fields)));
            valid = false;
        } else if (std::ranges::count(columns, field) != 0) {
            sink.report(mismatch(line, place_of(table.name, name), "a second column", "one"));
            valid = false;
        }
        columns.push_back(field);
    }
    for (const Field &member : table.primary_key().members) {
        if (valid &&
            std::ranges::count(columns, member.id, [](auto *each) { return each->id; }) == 0) {
            sink.report(missing_member(line, table, table.primary_key(), member));
            valid = false;
        }
    }
    return valid ? columns : std::vector<const Field *>{};
}

} // namespace

void read_csv(InputFile &source, const std::string &table_name, RecordSink &sink) {
    RowReader rows(source);
    std::vector<std::string> cells;
    std::string problem;
    rows.next(cells, problem);
    const Table *const table = stored_table(table_name, rows.line(), sink);
    if (table == nullptr) {
        return;
    }
    if (!problem.empty()) {
        return sink.report(
            mismatch(rows.line(), place_of(table->name), problem, "names of fields"));
    }
    const auto columns = columns_of(*table, cells, rows.line(), sink);
    if (columns.empty()) {
        return;
    }
    RecordBuilder record(sink);
    while (rows.next(cells, problem)) {
        if (problem.empty() && cells.size() != columns.size()) {
            problem = counted(cells.size(), "cell");
        }
        if (!problem.empty()) {
            sink.report(mismatch(rows.line(), place_of(table->name), problem,
                                 counted(columns.size(), "cell") + " as in the first line"));
            continue;
        }
        record.begin(*table, rows.line());
        for (std::size_t i = 0; i < cells.size(); ++i) {
            Value value = parse_word(*columns[i], cells[i]);
            value.line = rows.line();
            record.field(*columns[i], rows.line(), value);
        }
        record.end(nullptr); // the columns have been checked
    }
}

std::string csv_cell(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == text.npos) {
        return std::string(text);
    }
    std::string cell = "\"";
    for (const char character : text) {
        cell.append(character == '"' ? 2 : 1, character);
    }
    return cell + '"';
}

} // namespace l2vpn::records
