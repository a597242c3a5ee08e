// SPDX-License-Identifier: MIT
// Measures the operations of the tables.
#include <algorithm>
#include <chrono>
#include <functional>

#include <fmt/format.h>

#include "records/interrupt.h"
#include "tool/command.h"
#include "tool/operands.h"
#include "tool/result_table.h"
#include "tool/sample_network.h"

namespace l2vpn::tool {
namespace {

/// Times a number of calls and adds a row with the result.
void measure(ResultTable &result, const Table &table, const char *operation, std::size_t calls,
             const std::function<void()> &make_calls) {
    records::check_interrupt();
    const auto begin = std::chrono::steady_clock::now();
    make_calls();
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
    const double each = time.count() / static_cast<double>(std::max(calls, std::size_t{1}));
    result.add({table.name, operation, calls, {each, 1}, {1e3 / each, 2}});
}

void measure_all(ResultTable &result, const Table &table, const std::vector<Bytes> &records) {
    const L2vpnDalIntf &access = *table.access;
    const auto length = static_cast<std::uint32_t>(table.record_size);
    const auto for_each = [&](const char *name, const auto &operation) {
        measure(result, table, name, records.size(), [&] {
            for (const Bytes &record : records) {
                check(operation(record), name);
            }
        });
    };
    const auto write = [&](const Bytes &record) { return access.write(record.data(), length); };
    for_each("insert", write);
    Bytes found(table.record_size);
    for_each("read", [&](const Bytes &record) {
        found = record;
        return access.read(found.data(), length);
    });
    for_each("replace", write);
    if (const Field *const field = table.field("batchVersion")) {
        for_each("update", [&](const Bytes &record) {
            return access.update(record.data(), length, &field->id, 1);
        });
    }
    if (table.keys.size() > 1) {
        for_each("count by key", [&](const Bytes &record) {
            std::uint32_t number = 0;
            return access.countByKey(1, record.data(), length, &number);
        });
    }
    measure(result, table, "walk", records.size(),
            [&] { walk(table, table.primary_key(), nullptr, [](const Bytes &) {}); });
    for_each("delete", [&](const Bytes &record) { return access.remove(record.data(), length); });
}

} // namespace

Exit run_bench(const Arguments &arguments) {
    ResultTable result("bench", ResultTable::JsonForm::list,
                       {{"table"},
                        {"operation"},
                        {"calls"},
                        {"nanoseconds", "ns each"},
                        {"millionPerSecond", "million/s"}});
    const auto tables = stored_tables_named(arguments.tables);
    for (const Table *const table : tables) {
        if (count(*table) != 0) {
            throw Failure(exit_bad_input,
                          fmt::format("{}: found {}, expected an empty table to measure with",
                                      records::place_of(table->name),
                                      records::counted(count(*table), "record")));
        }
    }
    const SampleNetwork network("--records", arguments.records, arguments.seed);
    for (const Table *const table : tables) {
        std::vector<Bytes> records;
        network.records_of(*table, arguments.records,
                           [&](const Bytes &record) { records.push_back(record); });
        measure_all(result, *table, records);
    }
    result.print(arguments);
    return exit_done;
}

} // namespace l2vpn::tool
