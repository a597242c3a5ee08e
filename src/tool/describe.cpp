// SPDX-License-Identifier: MIT
// What there is: tables, their fields and keys, how many records they hold, what was counted.
#include <array>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "l2vpn_db/memory_store.h"
#include "tool/operands.h"
#include "tool/command.h"
#include "tool/record_output.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string type_of(const Field &field) {
    constexpr std::size_t mac = 6;
    switch (field.kind) {
    case Field::Kind::number:
        return "number";
    case Field::Kind::address:
        return "IPv4 address";
    case Field::Kind::pair:
    case Field::Kind::bytes:
        break;
    }
    if (field.elements == 2) {
        return fmt::format("2 x {}", records::counted(field.width / 2, "byte"));
    }
    // By name, as the descriptors do not tell one from other bytes.
    const bool address = field.width == mac && (field.name.starts_with("mac") ||
                                                field.name.find("Mac") != field.name.npos);
    return address ? "MAC address" : fmt::format("{} bytes", field.width);
}

/// Bytes of the caller record that belong to no field.
struct Padding {
    std::size_t offset, width;
};

std::vector<Padding> padding_of(const Table &table) {
    std::vector<Padding> paddings;
    std::size_t end = 0;
    for (const Field &field : table.fields) {
        if (field.offset > end) {
            paddings.push_back({end, field.offset - end});
        }
        end = field.offset + field.width;
    }
    if (table.record_size > end) {
        paddings.push_back({end, table.record_size - end});
    }
    return paddings;
}

std::string word_of(const Key &key) {
    return fmt::format("{:#010x}", key.word());
}

/// 0 where there is no access.
std::string stored(const Table &table, std::size_t number) {
    return table.access ? std::to_string(number) : "-";
}

void describe_json(const Table &table) {
    Json fields = Json::array(), padding = Json::array(), keys = Json::array();
    for (const Field &field : table.fields) {
        fields.push_back({{"name", field.name},
                          {"id", field.id},
                          {"offset", field.offset},
                          {"width", field.width},
                          {"storedOffset", table.access ? Json(field.stored_offset) : Json()},
                          {"type", type_of(field)}});
    }
    for (const auto &[offset, width] : padding_of(table)) {
        padding.push_back({{"offset", offset}, {"width", width}});
    }
    for (const Key &key : table.keys) {
        keys.push_back({{"name", key.name},
                        {"index", key.index},
                        {"word", word_of(key)},
                        {"length", key.length()},
                        {"members", records::field_names(key.members)}});
    }
    const Json shown = {{"name", table.name},
                        {"recordSize", table.record_size},
                        {"storedSize", table.access ? Json(table.stored_size) : Json()},
                        {"fields", fields},
                        {"padding", padding},
                        {"keys", keys}};
    fmt::print("{}", json_line("table", shown));
}

void describe(const Table &table) {
    fmt::print("{}: caller record {} bytes, {}\n\n", bold(table.name), table.record_size,
               table.access ? fmt::format("stored record {} bytes", table.stored_size)
                            : "described and formatted only: no stored record, no access");
    std::vector<Columns::Row> rows;
    std::vector<Padding> paddings = padding_of(table);
    for (const Field &field : table.fields) {
        for (; !paddings.empty() && paddings.front().offset < field.offset;
             paddings.erase(paddings.begin())) {
            rows.push_back({"", "(padding)", std::to_string(paddings.front().offset),
                            std::to_string(paddings.front().width), "-", ""});
        }
        rows.push_back({std::to_string(field.id), field.name, std::to_string(field.offset),
                        std::to_string(field.width), stored(table, field.stored_offset),
                        type_of(field)});
    }
    for (const auto &[offset, width] : paddings) {
        rows.push_back({"", "(padding)", std::to_string(offset), std::to_string(width), "-", ""});
    }
    print_columns(
        {{"id", true}, {"field"}, {"offset", true}, {"width", true}, {"packed", true}, {"type"}},
        rows);
    rows.clear();
    for (const Key &key : table.keys) {
        rows.push_back({std::to_string(key.index), key.name, word_of(key),
                        std::to_string(key.length()),
                        fmt::format("{}", fmt::join(records::field_names(key.members), ", "))});
    }
    fmt::print("\n");
    print_columns({{"index", true}, {"key"}, {"word"}, {"length", true}, {"members"}}, rows);
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
    Json list = Json::array();
    std::vector<Columns::Row> rows;
    for (const Table &table : records::tables()) {
        const std::size_t records = table.access ? count(table) : 0;
        list.push_back({{"name", table.name},
                        {"recordSize", table.record_size},
                        {"storedSize", table.access ? Json(table.stored_size) : Json()},
                        {"fields", table.fields.size()},
                        {"keys", table.keys.size()},
                        {"records", table.access ? Json(records) : Json()}});
        rows.push_back({table.name, std::to_string(table.record_size),
                        stored(table, table.stored_size), std::to_string(table.fields.size()),
                        std::to_string(table.keys.size()), stored(table, records)});
    }
    if (arguments.json) {
        fmt::print("{}", json_line("tables", list));
    } else {
        print_columns({{"table"},
                       {"record", true},
                       {"stored", true},
                       {"fields", true},
                       {"keys", true},
                       {"records", true}},
                      rows);
    }
    return exit_done;
}

Exit run_describe(const Arguments &arguments) {
    const Table &table = table_named(arguments.table);
    arguments.json ? describe_json(table) : describe(table);
    return exit_done;
}

Exit run_count(const Arguments &arguments) {
    Json counts = Json::object();
    std::vector<Columns::Row> rows;
    for (const Table *const table : stored_tables_named(arguments.tables, "records are counted")) {
        counts[table->name] = count(*table);
        rows.push_back({table->name, std::to_string(count(*table))});
    }
    if (arguments.json) {
        fmt::print("{}", json_line("counts", counts));
    } else {
        print_columns({{"table"}, {"records", true}}, rows);
    }
    return exit_done;
}

Exit run_stats(const Arguments &arguments) {
    Json tables = Json::object();
    std::vector<Columns::Row> rows;
    for (const Table *const table : stored_tables_named(arguments.tables, "events are counted")) {
        Json &counted = tables[table->name] = Json::object();
        for (std::uint32_t event = 0; event < events.size(); ++event) {
            const std::uint32_t times = table->functions.get_stat(event);
            counted[events[event]] = times;
            if (times != 0) {
                rows.push_back({table->name, events[event], std::to_string(times)});
            }
        }
    }
    if (arguments.json) {
        fmt::print("{}", json_line("stats", tables));
    } else {
        print_columns({{"table"}, {"event"}, {"times", true}}, rows);
    }
    return exit_done;
}

} // namespace l2vpn::tool
