// SPDX-License-Identifier: MIT
// Keys as the library's key builders build them, and the records that a key misses by the least.
#include <algorithm>
#include <array>
#include <map>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "records/field_value.h"
#include "records/value.h"
#include "tool/command.h"
#include "tool/operands.h"
#include "tool/result_table.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

/// The records that differ from a key in the fewest members.
struct Closest {
    std::size_t matches = 0;
    std::multimap<std::size_t, Bytes> records; ///< by the number of members that differ
};

bool differs(const Field &member, const Bytes &one, const Bytes &other) {
    return !std::equal(one.data() + member.offset, one.data() + member.offset + member.width,
                       other.data() + member.offset);
}

Closest closest_to(const Table &table, const Key &key, const Bytes &given) {
    constexpr std::size_t most = 5;
    Closest closest;
    walk(table, table.primary_key(), nullptr, [&](const Bytes &record) {
        const auto number = static_cast<std::size_t>(std::ranges::count_if(
            key.members, [&](const Field &member) { return differs(member, given, record); }));
        if (number == 0) {
            ++closest.matches;
        } else if (closest.records.size() < most || number < closest.records.rbegin()->first) {
            closest.records.emplace(number, record);
            if (closest.records.size() > most) {
                closest.records.erase(std::prev(closest.records.end()));
            }
        }
    });
    return closest;
}

} // namespace

Exit run_key(const Arguments &arguments) {
    using enum ResultTable::JsonForm;
    const Table &table = stored_table_named(arguments.table);
    const Key &key = key_for(table, arguments.key, arguments.values);
    const Bytes record = record_with_key(table, key, arguments.values, false);
    L2vpnDbKeyData request{};
    std::array<std::uint32_t, L2VPN_DB_KEY_ID_LENGTH / 4> area{};
    Bytes buffer(key.length());
    table.functions.set_key[key.index](record.data(), &request, area.data(), buffer.data());
    const std::string word = fmt::format("{:#010x}", area[0]);
    ResultTable members("members", list, {{"name", "member"}, {"at"}, {"bytes"}, {"value"}});
    std::size_t at = 0;
    for (const Field &member : key.members) {
        members.add({member.name, at,
                     records::hexadecimal(std::span(buffer).subspan(at, member.width)),
                     field_text(member, record.data(), arguments.style())});
        at += member.width;
    }
    const Closest closest = arguments.explain ? closest_to(table, key, record) : Closest{};
    ResultTable differing("closest", list, {{"record"}, {"member"}, {"given"}, {"found"}});
    for (const auto &[number, other] : closest.records) {
        for (const Field &member : key.members) {
            if (differs(member, record, other)) {
                differing.add({primary_key_text(table, other), member.name,
                               field_text(member, record.data(), arguments.style()),
                               field_text(member, other.data(), arguments.style())});
            }
        }
    }
    if (arguments.json) {
        Json shown{{"table", table.name},         {"name", key.name},
                   {"index", key.index},          {"word", word},
                   {"length", request.keyLength}, {"bytes", records::hexadecimal(buffer)},
                   {"members", members.json()}};
        if (arguments.explain) {
            shown["matches"] = closest.matches;
            shown["closest"] = differing.json();
        }
        fmt::print("{}", json_line("key", shown));
    } else {
        fmt::print("{}: key {}, index {}, flags {}, {} bytes: identifier word {}\n\n", table.name,
                   bold(key.name), area[0] >> 24, area[0] >> 16 & 255, request.keyLength, word);
        members.print(arguments);
        if (arguments.explain) {
            fmt::print("\n{} with this key{}\n", records::counted(closest.matches, "record"),
                       closest.records.empty() ? "" : "; the closest other records:");
            differing.print(arguments);
        }
    }
    return arguments.explain && closest.matches == 0 ? exit_no : exit_done;
}

} // namespace l2vpn::tool
