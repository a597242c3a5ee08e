// SPDX-License-Identifier: MIT
#include "tool/record_output.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/stat.h>
#include <unistd.h>

#include "records/csv_reader.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

bool is_zero(const Field &field, const Bytes &record) {
    const auto at = record.begin() + static_cast<std::ptrdiff_t>(field.offset);
    return std::all_of(at, at + static_cast<std::ptrdiff_t>(field.width),
                       [](std::byte each) { return each == std::byte{0}; });
}

bool is_key(const Table &table, const Field &field) {
    return std::ranges::count(table.primary_key().members, field.name, &Field::name) != 0;
}

/// For people, to whom many bytes that are all 0 say no more than one.
std::string cell(const Field &field, const Bytes &record, records::Style style) {
    constexpr std::size_t address = 6;
    if (field.kind == Field::Kind::bytes && field.width > address && is_zero(field, record)) {
        return "0";
    }
    return field_text(field, record.data(), style);
}

void print_fields(const Table &table, const Bytes &record, records::Style style) {
    std::size_t widest = 0;
    for (const Field &field : table.fields) {
        widest = std::max(widest, field.name.size());
    }
    for (const Field &field : table.fields) {
        const std::string text = cell(field, record, style);
        const std::string line = fmt::format("  {:<{}}  {}", field.name, widest, text);
        fmt::print("{}\n", is_zero(field, record) ? dim(line) : line);
    }
}

/// Columns in groups that there is room for, each behind the columns of the primary key.
std::vector<Columns::Group> groups_of(const Table &table, const std::vector<Field> &columns,
                                      const Columns &layout, std::size_t room) {
    const Columns::Group all = layout.all();
    if (layout.width(all) <= room) {
        return {all};
    }
    std::vector<Columns::Group> groups;
    Columns::Group key, others;
    std::ranges::partition_copy(all, std::back_inserter(key), std::back_inserter(others),
                                [&](std::size_t i) { return is_key(table, columns[i]); });
    for (const std::size_t i : others) {
        if (groups.empty() || layout.width(groups.back()) + layout.width({i}) > room) {
            groups.push_back(key);
        }
        groups.back().push_back(i);
    }
    if (groups.empty()) {
        groups.push_back(key);
    }
    return groups;
}

/// Looks at all records first: columns get their widths, and those that are 0 in every record are
/// left out, unless they are asked for.
std::size_t write_columns(const Table &table, const Arguments &arguments, const Records &records,
                          std::FILE *to) {
    const std::vector<Field> fields = fields_listed(table, arguments.fields);
    std::vector<bool> shown(fields.size(), arguments.all || !arguments.fields.empty());
    records([&](const Bytes &record) {
        for (std::size_t i = 0; i < fields.size(); ++i) {
            shown[i] = shown[i] || !is_zero(fields[i], record) || is_key(table, fields[i]);
        }
    });
    std::vector<Columns::Title> titles;
    std::vector<Field> columns;
    std::vector<std::string> left_out;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (shown[i]) {
            titles.push_back({fields[i].name, fields[i].kind == Field::Kind::number});
            columns.push_back(fields[i]);
        } else {
            left_out.push_back(fields[i].name);
        }
    }
    const auto row = [&](const Bytes &record) {
        Columns::Row cells(columns.size());
        std::ranges::transform(columns, cells.begin(), [&](const Field &field) {
            return cell(field, record, arguments.style());
        });
        return cells;
    };
    Columns layout(titles);
    std::size_t count = 0;
    records([&](const Bytes &record) {
        layout.measure(row(record));
        ++count;
    });
    if (count == 0) {
        return 0;
    }
    const std::size_t room = terminal_width(to, SIZE_MAX);
    const char *gap = "";
    for (const Columns::Group &group : groups_of(table, columns, layout, room)) {
        fmt::print(to, "{}", std::exchange(gap, "\n"));
        layout.print_titles(to, group);
        records([&](const Bytes &record) { layout.print(to, row(record), group); });
    }
    if (!left_out.empty()) {
        const std::string_view title = "0 in all: ";
        const std::string names = fmt::format("{}", fmt::join(left_out, ", "));
        fmt::print(to, "{}\n", dim(fmt::format("{}{}", title, folded(names, title.size(), room))));
    }
    return count;
}

} // namespace

std::string json_line(const std::string &members) {
    return fmt::format("{{\"version\":{},{}}}\n", records::record_version, members);
}

std::string json_line(const char *name, const nlohmann::ordered_json &value) {
    return json_line(
        fmt::format("\"{}\":{}", name,
                    value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)));
}

std::string record_json(const Table &table, const std::vector<Field> &fields, const Bytes &record,
                        records::Style style) {
    std::string text;
    for (const Field &field : fields) {
        text += text.empty() ? "\"" : ",\"";
        text += field.name;
        text += "\":";
        text += field_json(field, record.data(), style);
    }
    return json_line(fmt::format("\"{}\":[{{{}}}]", table.name, text));
}

std::string record_line(const Table &table, const Bytes &record) {
    std::string line(65536, '\0'); // more than any record's
    const std::uint32_t length = table.format(L2VPN_AST_WHOLE_RECORD, record.data(), line.data(),
                                              static_cast<std::uint32_t>(line.size()), ", ");
    line.resize(length == L2VPN_AST_ERR ? 0 : length);
    return line;
}

void print_record(const Table &table, const Arguments &arguments, const Bytes &record) {
    if (arguments.json) {
        fmt::print("{}", record_json(table, table.fields, record, arguments.style()));
    } else if (arguments.line) {
        fmt::print("{}\n", record_line(table, record));
    } else {
        print_fields(table, record, arguments.style());
    }
}

std::size_t write_records(const Table &table, const Arguments &arguments, const Records &records,
                          std::FILE *to) {
    if (!arguments.json && !arguments.csv && !arguments.line) {
        return write_columns(table, arguments, records, to);
    }
    const std::vector<Field> fields = fields_listed(table, arguments.fields);
    if (arguments.csv) {
        fmt::print(to, "{}\n", fmt::join(records::field_names(fields), ","));
    }
    std::size_t count = 0;
    records([&](const Bytes &record) {
        ++count;
        if (arguments.json) {
            fmt::print(to, "{}", record_json(table, fields, record, arguments.style()));
        } else if (arguments.line) {
            fmt::print(to, "{}\n", record_line(table, record));
        } else {
            std::string line;
            for (const Field &field : fields) {
                line += line.empty() ? "" : ",";
                line += records::csv_cell(field_text(field, record.data(), arguments.style()));
            }
            fmt::print(to, "{}\n", line);
        }
    });
    return count;
}

OutputFile::OutputFile(const std::string &path) : path_(path) {
    struct stat there {};
    const bool exists = stat(path.c_str(), &there) == 0;
    if (path.empty() || path == "-") {
        path_.clear();
        file_ = stdout;
        return;
    }
    if (exists && !S_ISREG(there.st_mode)) { // a device or a pipe is written to, and stays
        file_ = std::fopen(path.c_str(), "wb");
    } else {
        path_ = std::filesystem::weakly_canonical(path); // a link stays, too
        unfinished_ = path_ + ".XXXXXX";
        const int file = mkstemp(unfinished_.data());
        const mode_t mask = umask(0);
        umask(mask);
        if (file >= 0 && fchmod(file, exists ? there.st_mode & 0777 : 0666 & ~mask) == 0) {
            file_ = fdopen(file, "wb");
        }
    }
    if (file_ == nullptr) {
        throw records::FileError(path, "cannot be written");
    }
}

OutputFile::~OutputFile() {
    if (!path_.empty() && file_ != nullptr) {
        (void)std::fclose(file_);
        (void)std::remove(unfinished_.c_str());
    }
}

void OutputFile::finish() {
    if (path_.empty()) {
        if (std::fflush(file_) != 0) {
            throw records::FileError("standard output", "cannot be written");
        }
        return;
    }
    bool right = std::fflush(file_) == 0;
    right = std::fclose(std::exchange(file_, nullptr)) == 0 && right;
    if (!right || (!unfinished_.empty() && std::rename(unfinished_.c_str(), path_.c_str()) != 0)) {
        const int reason = errno;
        (void)std::remove(unfinished_.c_str());
        errno = reason;
        throw records::FileError(path_, "cannot be written");
    }
}

} // namespace l2vpn::tool
