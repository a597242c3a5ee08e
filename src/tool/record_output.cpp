// SPDX-License-Identifier: MIT
#include "tool/record_output.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "records/field_value.h"

namespace l2vpn::tool {
namespace {

/// The JSON form of the value decides the type of the cell.
Cell cell_of(const Field &field, const Bytes &record, records::Style style) {
    const auto at = record.begin() + static_cast<std::ptrdiff_t>(field.offset);
    Cell cell;
    cell.text = field_json(field, record.data(), style);
    cell.type = cell.text.front() == '"'   ? Cell::Type::text
                : cell.text.front() == '[' ? Cell::Type::list
                                           : Cell::Type::number;
    if (cell.type != Cell::Type::number) {
        cell.text = cell.text.substr(1, cell.text.size() - 2);
    }
    cell.zero = std::all_of(at, at + static_cast<std::ptrdiff_t>(field.width),
                            [](std::byte each) { return each == std::byte{0}; });
    return cell;
}

ResultTable result_of(const Table &table, const Arguments &arguments, const Records &records) {
    const std::vector<Field> fields = fields_listed(table, arguments.fields);
    std::vector<ResultTable::Column> columns;
    columns.reserve(fields.size());
    for (const Field &field : fields) {
        columns.push_back({field.name, "", has_member(table.primary_key(), field.name)});
    }
    ResultTable result(table.name, ResultTable::JsonForm::records, columns);
    if (!arguments.all && arguments.fields.empty()) {
        result.omit_zero_columns();
    }
    result.stream([fields, records, style = arguments.style()](const ResultTable::Visitor &visit) {
        Row row(fields.size());
        records([&](const Bytes &record) {
            std::ranges::transform(fields, row.begin(), [&](const Field &field) {
                return cell_of(field, record, style);
            });
            visit(row);
        });
    });
    return result;
}

std::string record_line(const Table &table, const Bytes &record) {
    std::string line(65536, '\0'); // longer than any record
    const std::uint32_t length = table.format(L2VPN_AST_WHOLE_RECORD, record.data(), line.data(),
                                              static_cast<std::uint32_t>(line.size()), ", ");
    line.resize(length == L2VPN_AST_ERR ? 0 : length);
    return line;
}

} // namespace

void print_record(const Table &table, const Arguments &arguments, const Bytes &record) {
    const Records records = [&](const Visitor &visit) { visit(record); };
    if (arguments.json || arguments.line || arguments.csv) {
        write_records(table, arguments, records, stdout);
    } else {
        result_of(table, arguments, records).print_vertically();
    }
}

std::size_t write_records(const Table &table, const Arguments &arguments, const Records &records,
                          std::FILE *to) {
    if (!arguments.line) {
        return result_of(table, arguments, records).print(arguments, to);
    }
    std::size_t count = 0;
    records([&](const Bytes &record) {
        ++count;
        fmt::print(to, "{}\n", record_line(table, record));
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
    if (exists && !S_ISREG(there.st_mode)) { // a device or pipe is written in place
        file_ = std::fopen(path.c_str(), "wb");
    } else {
        std::error_code error;
        const auto target = std::filesystem::weakly_canonical(path, error); // keeps symbolic links
        path_ = error ? path : target.string();
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
