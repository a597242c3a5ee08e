// SPDX-License-Identifier: MIT
#include "record_file.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "field_value.h"
#include "json_lines.h"
#include "nearest.h"

namespace l2vpn::demo {
namespace {

/// The file's text; none, with the reason, if it cannot be read.
std::optional<std::string> read_text(const std::string &path, std::string &reason) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"),
                                                                &std::fclose);
    std::string text;
    std::array<char, 65536> piece{};
    std::size_t length = 1;
    while (file != nullptr && length > 0) {
        length = std::fread(piece.data(), 1, piece.size(), file.get());
        text.append(piece.data(), length);
    }
    if (file == nullptr || std::ferror(file.get()) != 0) {
        reason = std::generic_category().message(errno);
        return std::nullopt;
    }
    return text;
}

class Checker {
public:
    explicit Checker(RecordFile &file) : file_(file) {}

    void check_file(const JsonValue &root) {
        if (root.kind != JsonValue::Kind::object) {
            return fail_value(root, "", "an object of tables");
        }
        FirstLines tables;
        for (const JsonValue &member : root.items) {
            const std::string where = "table " + quoted(member.name);
            if (is_first(tables, member.name, member.name_line, where)) {
                check_table(member, where);
            }
        }
    }

private:
    using FirstLines = std::map<std::string, std::size_t>;

    void check_table(const JsonValue &list, const std::string &where) {
        const std::optional<Table> table = find_table(list.name);
        if (!table) {
            return fail_name(list, where, "table", table_names());
        }
        if (!table->access) {
            return fail(list.name_line, where,
                        "found a table that can only be formatted, expected one that is stored");
        }
        if (list.kind != JsonValue::Kind::list) {
            return fail_value(list, where, "a list of records");
        }
        TableRecords &stored = file_.tables.emplace_back(TableRecords{*table, {}});
        FirstLines keys;
        for (const JsonValue &item : list.items) {
            if (item.kind != JsonValue::Kind::object) {
                fail_value(item, where, "a record, an object of fields");
                continue;
            }
            const std::size_t errors = file_.errors.size();
            Record record = check_record(*table, item, where);
            if (file_.errors.size() > errors) {
                continue; // its key may be wrong too
            }
            const std::string key = primary_key_text(*table, record.bytes);
            is_first(keys, key, item.line, fmt::format("{}, primary key {}", where, key));
            stored.records.push_back(std::move(record));
        }
    }

    Record check_record(const Table &table, const JsonValue &object, const std::string &where) {
        Record record{object.line, std::vector<std::byte>(table.record_size)};
        FirstLines fields;
        for (const JsonValue &member : object.items) {
            const std::string field_where = fmt::format("{}, field {}", where, quoted(member.name));
            const Field *field = table.field(member.name);
            if (field == nullptr) {
                fail_name(member, field_where, "field", field_names(table));
            } else if (is_first(fields, member.name, member.name_line, field_where) &&
                       !set_field(*field, member, record.bytes.data())) {
                fail_value(member, field_where, expected_value(*field));
            }
        }
        return record;
    }

    static std::vector<std::string> field_names(const Table &table) {
        std::vector<std::string> names;
        for (const Field &field : table.fields) {
            names.push_back(field.name);
        }
        return names;
    }

    /// Notes where something stands first; a second one is an error that names both lines.
    bool is_first(FirstLines &lines, const std::string &key, std::size_t line,
                  const std::string &where) {
        const auto [first, inserted] = lines.emplace(key, line);
        if (!inserted) {
            fail(
                line, where,
                fmt::format("found a second time, first in line {}, expected once", first->second));
        }
        return inserted;
    }

    void fail_name(const JsonValue &member, const std::string &where, const char *what,
                   const std::vector<std::string> &known) {
        fail(member.name_line, where,
             fmt::format("found an unknown {}, expected a known one; nearest is {}", what,
                         quoted(nearest(member.name, known))));
    }

    void fail_value(const JsonValue &value, const std::string &where, const std::string &expected) {
        fail(value.line, where, fmt::format("found {}, expected {}", describe(value), expected));
    }

    void fail(std::size_t line, const std::string &where, const std::string &what) {
        file_.errors.push_back(
            fmt::format("{}:{}: {}{}{}", file_.path, line, where, where.empty() ? "" : ": ", what));
    }

    RecordFile &file_;
};

} // namespace

RecordFile read_record_file(const std::string &path) {
    RecordFile file{path, {}, {}};
    std::string reason;
    const std::optional<std::string> text = read_text(path, reason);
    if (!text) {
        file.errors.push_back(fmt::format("{}: cannot be read: {}", path, reason));
        return file;
    }
    if (text->empty()) {
        file.errors.push_back(path + ":1: found an empty file, expected an object of tables");
        return file;
    }
    JsonError error{};
    const std::optional<JsonValue> root = parse_json(*text, error);
    if (root) {
        Checker(file).check_file(*root);
    } else {
        file.errors.push_back(fmt::format("{}:{}: {}", path, error.line, error.what));
    }
    if (!file.errors.empty()) {
        file.tables.clear();
    }
    return file;
}

std::string primary_key_text(const Table &table, const std::vector<std::byte> &record) {
    std::string text;
    for (const Field &field : table.primary_key) {
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", field.name,
                            field_text(field, record.data()));
    }
    return text;
}

} // namespace l2vpn::demo
