// SPDX-License-Identifier: MIT
// Commands that describe tables: fields and keys, record counts, event counters.
#include <array>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "l2vpn_db/memory_store.h"
#include "tool/command.h"
#include "tool/operands.h"
#include "tool/result_table.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string type_of(const Field &field) {
    using records::Display;
    switch (field.display) {
    case Display::number:
        return "number";
    case Display::ipv4:
        return "IPv4 address";
    case Display::ipv6:
        return "IPv6 address";
    case Display::mac:
        return "MAC address";
    case Display::pair:
    case Display::array:
        return fmt::format("2 x {}", records::counted(field.width / 2, "byte"));
    case Display::bytes:
        break;
    }
    return fmt::format("{} bytes", field.width);
}

/// Without a value in a table that is not stored.
template <class Number>
Cell stored(const Table &table, Number number) {
    return table.access ? Cell(number) : Cell();
}

/// The store's events (L2vpnStoreStat) by their identifiers.
constexpr std::array<const char *, L2VPN_DB_STAT_COUNT> events = {
    "inserted",      "replaced",   "read",          "readMissed",   "keyRead",
    "keyReadMissed", "deleted",    "deleteMissed",  "updated",      "updateRefused",
    "updateMissed",  "iterOpened", "keyIterOpened", "iterReleased", "delivered",
    "iterEnded",     "counted",    "keyCounted",    "badRequest",   "badKey",
    "badIterator",   "noMemory"};
static_assert(L2VPN_STORE_STAT_NO_MEMORY + 1 == events.size());

} // namespace

Exit run_tables(const Arguments &arguments) {
    ResultTable result("tables", ResultTable::JsonForm::list,
                       {{"name", "table"},
                        {"recordSize", "record"},
                        {"storedSize", "stored"},
                        {"fields"},
                        {"keys"},
                        {"records"}});
    for (const Table &table : records::tables()) {
        result.add({table.name, table.record_size, stored(table, table.stored_size),
                    table.fields.size(), table.keys.size(),
                    stored(table, table.access ? count(table) : 0)});
    }
    result.print(arguments);
    return exit_done;
}

Exit run_describe(const Arguments &arguments) {
    using List = std::vector<ResultTable::Column>;
    constexpr auto list = ResultTable::JsonForm::list;
    const Table &table = table_named(arguments.table);
    const List columns = {{"name", "field"},          {"id"},  {"offset"}, {"width"},
                          {"storedOffset", "packed"}, {"type"}};
    ResultTable fields("fields", list, columns), padding("padding", list, {{"offset"}, {"width"}});
    ResultTable layout("layout", list, columns);
    for (const auto &[offset, width, field] :
         extents_of(table, table.record_size, &Field::offset)) {
        const Row row =
            field == nullptr
                ? Row{"(padding)", {}, offset, width, {}, {}}
                : Row{field->name,    field->id, offset, width, stored(table, field->stored_offset),
                      type_of(*field)};
        layout.add(row);
        field == nullptr ? padding.add({offset, width}) : fields.add(row);
    }
    ResultTable keys("keys", list, {{"name", "key"}, {"index"}, {"word"}, {"length"}, {"members"}});
    for (const Key &key : table.keys) {
        keys.add({key.name, key.index, fmt::format("{:#010x}", key.word()), key.length(),
                  records::field_names(key.members)});
    }
    if (arguments.json) {
        const Json shown = {{"name", table.name},
                            {"recordSize", table.record_size},
                            {"storedSize", table.access ? Json(table.stored_size) : Json()},
                            {"fields", fields.json()},
                            {"padding", padding.json()},
                            {"keys", keys.json()}};
        fmt::print("{}", json_line("table", shown));
    } else if (arguments.csv) {
        fields.print(arguments);
    } else {
        fmt::print("{}: caller record {} bytes, {}\n\n", bold(table.name), table.record_size,
                   table.access ? fmt::format("stored record {} bytes", table.stored_size)
                                : "described and formatted only: no stored record, no access");
        layout.print(arguments);
        fmt::print("\n");
        keys.print(arguments);
    }
    return exit_done;
}

Exit run_count(const Arguments &arguments) {
    ResultTable result("counts", ResultTable::JsonForm::tree, {{"table"}, {"records"}});
    for (const Table *const table : stored_tables_named(arguments.tables)) {
        result.add({table->name, count(*table)});
    }
    result.print(arguments);
    return exit_done;
}

Exit run_stats(const Arguments &arguments) {
    ResultTable result("stats", ResultTable::JsonForm::tree, {{"table"}, {"event"}, {"times"}});
    for (const Table *const table : stored_tables_named(arguments.tables)) {
        for (std::uint32_t event = 0; event < events.size(); ++event) {
            const std::uint32_t times = table->functions.get_stat(event);
            if (times != 0 || arguments.json || arguments.csv) {
                result.add({table->name, events[event], times});
            }
        }
    }
    result.print(arguments);
    return exit_done;
}

} // namespace l2vpn::tool
