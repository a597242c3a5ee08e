// SPDX-License-Identifier: MIT
// Measures the operations of the tables.
#include <chrono>

#include <fmt/format.h>

#include "records/interrupt.h"
#include "tool/command.h"
#include "tool/operands.h"
#include "tool/result_table.h"
#include "tool/sample_network.h"

namespace l2vpn::tool {
namespace {

struct Measured {
    const char *operation;
    std::size_t calls;
    double seconds;
};

/// Times one operation on every record.
template <class Operation>
Measured measure(const char *name, const std::vector<Bytes> &all, Operation operation) {
    records::check_interrupt();
    const auto begin = std::chrono::steady_clock::now();
    for (const Bytes &record : all) {
        check(operation(record), name);
    }
    return {name, all.size(),
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count()};
}

std::vector<Measured> measure_all(const Table &table, const std::vector<Bytes> &records) {
    const L2vpnDalIntf &access = *table.access;
    const auto length = static_cast<std::uint32_t>(table.record_size);
    std::vector<Measured> all;
    all.push_back(measure("insert", records, [&](const Bytes &record) {
        return access.write(record.data(), length);
    }));
    Bytes found(table.record_size);
    all.push_back(measure("read", records, [&](const Bytes &record) {
        found = record;
        return access.read(found.data(), length);
    }));
    all.push_back(measure("replace", records, [&](const Bytes &record) {
        return access.write(record.data(), length);
    }));
    if (const Field *const field = table.field("batchVersion")) {
        all.push_back(measure("update", records, [&](const Bytes &record) {
            return access.update(record.data(), length, &field->id, 1);
        }));
    }
    if (table.keys.size() > 1) {
        all.push_back(measure("count by key", records, [&](const Bytes &record) {
            std::uint32_t number = 0;
            return access.countByKey(1, record.data(), length, &number);
        }));
    }
    const auto begin = std::chrono::steady_clock::now();
    walk(table, table.primary_key(), nullptr, [](const Bytes &) {});
    all.push_back(
        {"walk", records.size(),
         std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count()});
    all.push_back(measure("delete", records, [&](const Bytes &record) {
        return access.remove(record.data(), length);
    }));
    return all;
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
        for (const auto &[operation, calls, seconds] : measure_all(*table, records)) {
            const double each =
                seconds * 1e9 / static_cast<double>(std::max(calls, std::size_t{1}));
            result.add({table->name, operation, calls, {each, 1}, {1e3 / each, 2}});
        }
    }
    result.print(arguments);
    return exit_done;
}

} // namespace l2vpn::tool
