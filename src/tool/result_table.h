// SPDX-License-Identifier: MIT
// Results: a table of typed cells, filled once and rendered as text columns, CSV or JSON.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tool/command.h"

namespace l2vpn::tool {

/// A value with its JSON type. Without a value: "-" in columns, empty in CSV, null in JSON.
struct Cell {
    enum class Type : std::uint8_t { none, number, list, names, text };

    Cell() = default;
    Cell(std::string value) : type(Type::text), text(std::move(value)) {}
    Cell(const char *value) : Cell(std::string(value)) {}
    template <std::integral T>
    Cell(T number) : type(Type::number), text(std::to_string(number)), zero(number == 0) {}
    /// A list of identifiers.
    Cell(const std::vector<std::string> &names);
    /// @param decimals  after the point
    Cell(double number, int decimals);

    std::string json() const;

    Type type = Type::none;
    std::string text; ///< as in CSV
    bool zero = false;
};

using Row = std::vector<Cell>;

class ResultTable {
public:
    struct Column {
        std::string name;         ///< in JSON and CSV
        std::string heading = {}; ///< of the text column, if it is not the name
        bool key = false;         ///< repeated when a terminal is too narrow for all columns
    };
    enum class JsonForm : std::uint8_t {
        list,    ///< "name": [{column: value, ...}, ...]
        records, ///< a line per row, "name": [{column: value, ...}]
        tree,    ///< "name": {first cell: {second cell: ... last cell}}
    };
    using Visitor = std::function<void(const Row &)>;
    /// Calls a visitor with each row. It is called once to measure and once for each print.
    using Source = std::function<void(const Visitor &)>;

    ResultTable(std::string name, JsonForm form, std::vector<Column> columns)
        : name_(std::move(name)), form_(form), columns_(std::move(columns)) {}

    void add(Row row) { rows_.push_back(std::move(row)); }
    /// Takes the rows from a source, so that they need not fit into memory.
    void stream(Source source) { source_ = std::move(source); }
    /// Leaves out columns, except keys, that are zero in all rows when printed as text.
    void omit_zero_columns() { omit_zero_ = true; }

    /// Prints in the form that the arguments ask for.
    /// @return the number of rows
    std::size_t print(const Arguments &arguments, std::FILE *to = stdout) const;
    /// Prints one row as lines of "name  value", zero values dimmed.
    void print_vertically() const;
    /// The rows as one JSON value in the list or tree form.
    nlohmann::ordered_json json() const;

private:
    using Group = std::vector<std::size_t>; ///< columns by number

    void each(const Visitor &visit) const;
    std::size_t print_columns(std::FILE *to) const;
    std::vector<Group> groups_for(const Group &shown, const std::vector<bool> &numeric,
                                  std::vector<std::size_t> &widths, std::size_t room) const;

    std::string name_;
    JsonForm form_;
    std::vector<Column> columns_;
    std::vector<Row> rows_;
    Source source_;
    bool omit_zero_ = false;
};

/// A line of JSON output: one object whose first member is the version.
std::string json_line(const std::string &members);
/// With one more member. Bytes that are not UTF-8, as in a file name, are replaced.
std::string json_line(const std::string &name, const nlohmann::ordered_json &value);

} // namespace l2vpn::tool
