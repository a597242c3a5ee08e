// SPDX-License-Identifier: MIT
// Commands that print, find, write, change and delete records.
#include <algorithm>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "l2vpn_db/memory_store.h"
#include "tool/command.h"
#include "tool/operands.h"
#include "tool/record_output.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

std::uint32_t length_of(const Table &table) {
    return static_cast<std::uint32_t>(table.record_size);
}

Bytes with_primary_key(const Table &table, const Arguments &arguments) {
    return record_with_key(table, table.primary_key(), arguments.values, true);
}

std::string name_of(const Table &table, const Bytes &record) {
    return fmt::format("{}: {}", table.name, primary_key_text(table, record));
}

/// Prints the operation on a record, or that the record does not exist.
Exit done(const Arguments &arguments, const char *what, const Table &table, const Bytes &record,
          std::uint32_t result) {
    const bool found = result != L2VPN_STORE_NOT_FOUND;
    if (found) {
        check(result, name_of(table, record));
    }
    if (arguments.json) {
        fmt::print("{}", json_line(what, found));
    } else {
        fmt::print("{}: {}\n", name_of(table, record), found ? what : "no such record");
    }
    return found ? exit_done : exit_no;
}

} // namespace

Exit run_dump(const Arguments &arguments) {
    if (arguments.csv && arguments.tables.size() != 1) {
        throw Failure(exit_bad_input,
                      fmt::format("--csv: found {}, expected one, because their fields differ",
                                  records::counted(arguments.tables.size(), "table")));
    }
    const auto tables = stored_tables_named(arguments.tables);
    std::uint64_t total = 0, done = 0;
    for (const Table *const table : tables) {
        if (!arguments.fields.empty()) {
            fields_listed(*table, arguments.fields);
        }
        total += count(*table);
    }
    OutputFile output(arguments.output);
    Progress progress("dump");
    const bool titles = !arguments.json && !arguments.csv && arguments.tables.size() != 1;
    for (const Table *const table : tables) {
        const std::uint64_t before = done;
        if (titles && count(*table) > 0) {
            fmt::print(output.file(), "{}{}\n", before == 0 ? "" : "\n", bold(table->name));
        }
        done += write_records(
            *table, arguments,
            [&](const Visitor &visit) {
                std::uint64_t here = before;
                walk(*table, table->primary_key(), nullptr, [&](const Bytes &record) {
                    ++here;
                    progress.show(here, here, total);
                    visit(record);
                });
            },
            output.file());
    }
    output.finish();
    if (total == 0 && !arguments.json) {
        write_error(fmt::format("{}: no records\n",
                                arguments.tables.empty()
                                    ? "all tables"
                                    : fmt::format("{}", fmt::join(arguments.tables, ", "))));
    }
    return exit_done;
}

Exit run_get(const Arguments &arguments) {
    const Table &table = stored_table_named(arguments.table);
    Bytes record = with_primary_key(table, arguments);
    const std::uint32_t result = table.access->read(record.data(), length_of(table));
    if (result == L2VPN_STORE_NOT_FOUND) {
        return done(arguments, "found", table, record, result);
    }
    check(result, name_of(table, record));
    print_record(table, arguments, record);
    return exit_done;
}

Exit run_find(const Arguments &arguments) {
    const Table &table = stored_table_named(arguments.table);
    const Key &key = key_for(table, arguments.key, arguments.values);
    const Bytes record = record_with_key(table, key, arguments.values, true);
    const std::size_t found = write_records(
        table, arguments, [&](const Visitor &visit) { walk(table, key, &record, visit); }, stdout);
    if (found == 0 && !arguments.json) {
        write_error(fmt::format("{}: no record with this {}; key --explain shows the closest\n",
                                table.name, key.name));
    }
    return found == 0 ? exit_no : exit_done;
}

Exit run_put(const Arguments &arguments) {
    const Table &table = stored_table_named(arguments.table);
    const auto given = input_record(table, arguments.values, &table.primary_key());
    Bytes before = given.bytes;
    const bool replaces = table.access->read(before.data(), length_of(table)) == L2VPN_DB_OK;
    if (const auto missing = std::ranges::count(given.given, 0U); replaces && missing > 0) {
        throw Failure(exit_bad_input,
                      fmt::format("{}: the record exists, and put would set {} to 0; set changes "
                                  "only the fields that it names",
                                  name_of(table, before),
                                  records::counted(static_cast<std::size_t>(missing), "field")));
    }
    return done(arguments, replaces ? "replaced" : "inserted", table, given.bytes,
                table.access->write(given.bytes.data(), length_of(table)));
}

Exit run_set(const Arguments &arguments) {
    const Table &table = stored_table_named(arguments.table);
    const auto given = input_record(table, arguments.values, &table.primary_key());
    Bytes record = given.bytes;
    std::uint32_t result = table.access->read(record.data(), length_of(table));
    if (result == L2VPN_DB_OK) {
        record = given.merged_into(std::move(record));
        result = table.access->write(record.data(), length_of(table));
    }
    return done(arguments, "updated", table, record, result);
}

Exit run_set_batch_version(const Arguments &arguments) {
    const Table &table = stored_table_named(arguments.table);
    const Field *const field = table.field("batchVersion");
    if (field == nullptr) {
        throw Failure(exit_bad_input,
                      fmt::format("{}: found no batchVersion, expected a table whose records have "
                                  "one",
                                  records::place_of(table.name)));
    }
    if (arguments.batch_version > UINT32_MAX) {
        throw Failure(exit_bad_input, fmt::format("batch version: found {}, expected {}",
                                                  arguments.batch_version, expected_value(*field)));
    }
    Bytes record = with_primary_key(table, arguments);
    records::put_number(record.data() + field->offset, field->width, arguments.batch_version);
    return done(arguments, "updated", table, record,
                table.access->update(record.data(), length_of(table), &field->id, 1));
}

Exit run_delete(const Arguments &arguments) {
    const Table &table = stored_table_named(arguments.table);
    const Bytes record = with_primary_key(table, arguments);
    return done(arguments, "deleted", table, record,
                table.access->remove(record.data(), length_of(table)));
}

} // namespace l2vpn::tool
