// SPDX-License-Identifier: MIT
#include "record_file.h"

#include <algorithm>
#include <cstdint>
#include <map>

#include <fmt/format.h>

#include "records/field_value.h"
#include "records/record_reader.h"
#include "records/undo_log.h"

namespace l2vpn::demo {
namespace {

class Keeper final : public records::RecordSink {
public:
    explicit Keeper(RecordFile &file) : file_(file) {}

    void record(const records::Table &table, std::size_t line,
                const records::Bytes &record) override {
        const std::string where = fmt::format("{}, primary key {}", records::place_of(table.name),
                                              records::primary_key_text(table, record));
        const auto [first, is_first] = lines_.emplace(where, line);
        if (!is_first) {
            return report(records::mismatch(
                line, where, fmt::format("a second time, first in line {}", first->second),
                "once"));
        }
        auto found = std::ranges::find(file_.tables, table.name,
                                       [](const TableRecords &each) { return each.table.name; });
        if (found == file_.tables.end()) {
            found = file_.tables.insert(found, {table, {}});
        }
        found->records.push_back({line, record});
    }

    void report(const records::Diagnostic &diagnostic) override {
        file_.errors.push_back(
            fmt::format("{}:{}: {}", file_.path, diagnostic.line, diagnostic.text()));
    }

private:
    RecordFile &file_;
    std::map<std::string, std::size_t> lines_;
};

} // namespace

RecordFile read_record_file(const std::string &path) {
    RecordFile file{path, {}, {}};
    try {
        records::InputFile source(path);
        Keeper keeper(file);
        records::read_records(source, "", keeper);
    } catch (const records::FileError &error) {
        file.errors.emplace_back(error.what());
    }
    if (!file.errors.empty()) {
        file.tables.clear();
    }
    return file;
}

std::optional<std::string> store_records(const RecordFile &file) {
    records::UndoLog undo_log;
    for (const auto &[table, table_records] : file.tables) {
        for (const auto &[line, bytes] : table_records) {
            bool replaced = false;
            const std::uint32_t result = undo_log.write(table, bytes, replaced);
            if (result == L2VPN_DB_OK) {
                continue;
            }
            const std::size_t failed = undo_log.undo();
            return fmt::format(
                "{}:{}: table {}, primary key {}: the store refused the record with "
                "result {:#x}; {}",
                file.path, line, table.name, records::primary_key_text(table, bytes), result,
                failed == 0 ? "nothing of the file is stored"
                            : fmt::format("{} records could not be put back", failed));
        }
    }
    return std::nullopt;
}

} // namespace l2vpn::demo
