// SPDX-License-Identifier: MIT
// Compares two record files.
#include <algorithm>
#include <map>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tool/command.h"
#include "tool/operands.h"
#include "tool/record_output.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

/// The records of a file by table and primary key. A later record replaces an earlier one.
class Contents final : public records::RecordSink {
public:
    Contents(const std::string &path, const std::string &csv_table) : source_(path) {
        records::read_records(source_, csv_table, *this);
        if (diagnostics_.count > 0) {
            throw Failure(exit_bad_input, "nothing is compared:\n" + diagnostics_.text());
        }
    }

    void record(const records::InputRecord &record) override {
        tables[record.table][key_of(record.table->primary_key(), record.bytes)] = record.bytes;
        progress_.show(++records_, source_.position(), source_.size());
    }
    void report(const records::Diagnostic &diagnostic) override {
        diagnostics_.add(diagnostic, source_.name());
    }

    std::map<const Table *, std::map<Bytes, Bytes>> tables; ///< sorted by name

private:
    records::InputFile source_;
    Progress progress_{source_.name()};
    records::Diagnostics diagnostics_;
    std::uint64_t records_ = 0;
};

class Report {
public:
    explicit Report(const Arguments &arguments) : arguments_(arguments) {}

    /// Reports a record that only one of the files has.
    void whole(const char *change, char sign, const Table &table, const Bytes &record) {
        ++counts[change];
        if (arguments_.json) {
            line(change, table, record, "");
        } else {
            fmt::print("{} {} {}\n", sign, table.name, primary_key_text(table, record));
        }
    }

    void compare(const Table &table, const Bytes &before, const Bytes &after) {
        std::vector<std::string> changes;
        for (const Field &field : table.fields) {
            const auto at = [&](const Bytes &record) { return record.data() + field.offset; };
            if (std::equal(at(before), at(before) + field.width, at(after))) {
                continue;
            }
            const auto format = arguments_.json ? records::field_json : records::field_text;
            changes.push_back(fmt::format(
                fmt::runtime(arguments_.json ? R"("{}":{{"from":{},"to":{}}})" : "{} {} -> {}"),
                field.name, format(field, before.data(), arguments_.style()),
                format(field, after.data(), arguments_.style())));
        }
        if (changes.empty()) {
            ++counts["same"];
            return;
        }
        ++counts["changed"];
        if (arguments_.json) {
            line("changed", table, before,
                 fmt::format(",\"fields\":{{{}}}", fmt::join(changes, ",")));
        } else {
            fmt::print("~ {} {}: {}\n", table.name, primary_key_text(table, before),
                       fmt::join(changes, ", "));
        }
    }

    Exit end() const {
        const auto [added, changed, removed, same] = std::tuple(
            counts.at("added"), counts.at("changed"), counts.at("removed"), counts.at("same"));
        if (arguments_.json) {
            fmt::print("{}", json_line(fmt::format(
                                 R"("diff":{{"removed":{},"added":{},"changed":{},"same":{}}})",
                                 removed, added, changed, same)));
        } else {
            fmt::print("{} removed, {} added, {} changed, {} the same\n", removed, added, changed,
                       same);
        }
        return removed + added + changed == 0 ? exit_done : exit_no;
    }

private:
    void line(const char *change, const Table &table, const Bytes &record,
              const std::string &more) const {
        std::string key;
        for (const Field &member : table.primary_key().members) {
            key += fmt::format("{}\"{}\":{}", key.empty() ? "" : ",", member.name,
                               field_json(member, record.data(), arguments_.style()));
        }
        fmt::print("{}", json_line(fmt::format(R"("change":"{}","table":"{}","key":{{{}}}{})",
                                               change, table.name, key, more)));
    }

    const Arguments &arguments_;
    std::map<std::string, std::size_t> counts{
        {"added", 0}, {"changed", 0}, {"removed", 0}, {"same", 0}};
};

} // namespace

Exit run_diff(const Arguments &arguments) {
    if (arguments.files.size() != 2) {
        throw Failure(exit_bad_input,
                      fmt::format("diff: found {}, expected 2",
                                  records::counted(arguments.files.size(), "file")));
    }
    Contents before(arguments.files[0], arguments.csv_table);
    Contents after(arguments.files[1], arguments.csv_table);
    Report report(arguments);
    for (const Table &table : records::tables()) {
        auto &older = before.tables[&table];
        auto &newer = after.tables[&table];
        for (const auto &[key, record] : older) {
            const auto found = newer.find(key);
            found == newer.end() ? report.whole("removed", '-', table, record)
                                 : report.compare(table, record, found->second);
        }
        for (const auto &[key, record] : newer) {
            if (!older.contains(key)) {
                report.whole("added", '+', table, record);
            }
        }
    }
    return report.end();
}

} // namespace l2vpn::tool
