// SPDX-License-Identifier: MIT
#include "tool/sample_network.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include <fmt/format.h>

#include "tool/command.h"

namespace l2vpn::tool {
namespace {

constexpr std::uint64_t instances_per_router = 50, instances_per_peer = 5;
constexpr std::uint64_t pseudowires = 3, interfaces = 4, macs = 20; // per instance
constexpr std::uint64_t events = 10; // one event for this many objects

/// The object that a record describes. The highest subject among the members of the primary key
/// decides, and determines the number of records.
enum class Subject : std::uint8_t { none, router, instance, interface, pseudowire, mac };

/// The objects that a record describes or refers to, numbered through the whole network.
struct Row {
    std::uint64_t number, router, instance, interface, pseudowire, mac, peers, seed, chance;
};

struct Rule {
    std::vector<std::string_view> fields;
    /// A number, or the first bytes of a byte field.
    std::uint64_t (*value)(const Row &row);
    Subject subject = Subject::none;
};

/// Spreads numbers evenly (the finaliser of SplitMix64).
std::uint64_t mixed(std::uint64_t number) {
    number += 0x9E3779B97F4A7C15U;
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9U;
    number = (number ^ number >> 27) * 0x94D049BB133111EBU;
    return number ^ number >> 31;
}

std::uint64_t zero(const Row &) {
    return 0;
}
std::uint64_t time_stamp(const Row &row) {
    return 1'700'000'000 + row.number;
}
std::uint64_t random_flag(const Row &row) {
    return row.chance % 16 == 0 ? 0 : 1;
}
std::uint64_t random_bytes(const Row &row) {
    return row.chance;
}

constexpr std::uint64_t vlans = 4094, labels = 1U << 20, first_label = 1024;

const std::vector<Rule> &rules() {
    static const std::vector<Rule> all = {
        {{"vrIndex", "vrId"}, [](const Row &row) { return row.router + 1; }, Subject::router},
        {{"instanceId", "instId", "vsiInstId", "groupId", "pgId"},
         [](const Row &row) { return row.instance + 100; },
         Subject::instance},
        {{"ifIndex", "outIfIndex", "vplsSubIf"},
         [](const Row &row) { return row.interface + 1; },
         Subject::interface},
        {{"pwTunnelId"},
         [](const Row &row) { return row.pseudowire + 10000; },
         Subject::pseudowire},
        {{"l2vpnIid", "pwCfgIndex"},
         [](const Row &row) { return row.pseudowire + 1; },
         Subject::pseudowire},
        // locally administered
        {{"macAddr"},
         [](const Row &row) {
             return 0x02 | (row.seed & 0xFF) << 8 | __builtin_bswap64(row.mac) >> 32 << 16;
         },
         Subject::mac},
        // the next pseudowire of the instance
        {{"bakPwTunnelId"},
         [](const Row &row) {
             return row.instance * pseudowires + (row.pseudowire + 1) % pseudowires + 10000;
         }},
        {{"tunnelId", "fwdTunnelId", "tnlId"},
         [](const Row &row) { return row.pseudowire % row.peers + 7000; }},
        {{"mainIfIndex", "srcIfIndex", "memIfIndex"},
         [](const Row &row) { return row.interface / interfaces + 1'000'000'000; }},
        {{"peVlan", "peVid", "vlanId", "userVlanId", "sharePeVlan", "shareVlan", "vlanifId"},
         [](const Row &row) { return row.interface % vlans + 1; }},
        {{"ceVlan", "ceVid"}, [](const Row &row) { return row.number % vlans + 1; }},
        {{"peerIp"}, [](const Row &row) { return (10U << 24) + 1 + row.pseudowire % row.peers; }},
        {{"inVcLabel"},
         [](const Row &row) { return row.pseudowire % (labels - first_label) + first_label; }},
        {{"outVcLabel"},
         [](const Row &row) { return row.chance % (labels - first_label) + first_label; }},
        {{"vcId", "pwId"}, [](const Row &row) { return row.pseudowire + 1; }},
        // tagged or raw
        {{"encapType"}, [](const Row &row) { return 4 + mixed(row.instance) % 2; }},
        {{"mtu"}, [](const Row &) -> std::uint64_t { return 1500; }},
        {{"macAgeTime"}, [](const Row &) -> std::uint64_t { return 300; }},
        {{"srcPid"}, [](const Row &row) { return 301 + row.router % 4; }},
        // in service, without a second service
        {{"svcStatus"}, [](const Row &) -> std::uint64_t { return 1; }},
        {{"svcErrcode", "flags", "tVrfIndex"}, zero},
    };
    return all;
}

Rule rule_for(const Field &field) {
    for (const Rule &rule : rules()) {
        if (std::ranges::count(rule.fields, field.name) != 0) {
            return rule;
        }
    }
    const auto begins_with = [&](const char *prefix) { return field.name.starts_with(prefix); };
    if (begins_with("timeStamp")) {
        return {{}, time_stamp};
    }
    if (begins_with("res") || begins_with("rsv") || begins_with("rev")) {
        return {{}, zero};
    }
    return {{}, records::is_number(field) ? random_flag : random_bytes};
}

Subject subject_of(const Table &table) {
    Subject subject = Subject::none;
    for (const Field &member : table.primary_key().members) {
        subject = std::max(subject, rule_for(member).subject);
    }
    return subject;
}

/// A table of events, not of objects.
bool is_event(const Table &table) {
    return table.field("timeStamp") != nullptr || table.field("timeStampQuery") != nullptr;
}

std::uint64_t per_instance(Subject subject) {
    switch (subject) {
    case Subject::interface:
        return interfaces;
    case Subject::pseudowire:
        return pseudowires;
    case Subject::mac:
        return macs;
    default:
        return 1;
    }
}

Row row_of(Subject subject, std::uint64_t number) {
    const std::uint64_t each = per_instance(subject), within = number % each;
    Row row{};
    row.number = number;
    row.instance = subject == Subject::router ? number * instances_per_router : number / each;
    row.router = row.instance / instances_per_router;
    row.interface = row.instance * interfaces + within % interfaces;
    row.pseudowire = row.instance * pseudowires + within % pseudowires;
    row.mac = row.instance * macs + within;
    return row;
}

void set_bytes(const Field &field, std::uint64_t value, Bytes &record) {
    for (std::size_t i = 0; i < field.width; ++i) {
        record[field.offset + i] =
            i < sizeof value ? static_cast<std::byte>(value >> 8 * i) : std::byte{0};
    }
}

} // namespace

SampleNetwork::SampleNetwork(const char *option, std::uint64_t instances, std::uint64_t seed)
    : instances_(instances), seed_(seed) {
    if (instances == 0 || instances > max_instances) {
        throw Failure(exit_bad_input, fmt::format("{}: found {}, expected a number from 1 to {}",
                                                  option, instances, max_instances));
    }
}

std::uint64_t SampleNetwork::size(const Table &table) const {
    const Subject subject = subject_of(table);
    std::uint64_t size = instances_ * per_instance(subject);
    if (subject == Subject::router) {
        size = (instances_ + instances_per_router - 1) / instances_per_router;
    } else if (subject == Subject::none) { // the first member of the primary key is the number
        const std::size_t width = table.primary_key().members.front().width;
        size = width < sizeof size ? std::min(size, std::uint64_t{1} << 8 * width) : size;
    }
    return is_event(table) ? (size + events - 1) / events : size;
}

void SampleNetwork::records_of(const Table &table, std::uint64_t most, const Visitor &visit) const {
    const Subject subject = subject_of(table);
    const std::uint64_t step = is_event(table) ? events : 1;
    std::vector<Rule> field_rules;
    std::ranges::transform(table.fields, std::back_inserter(field_rules), rule_for);
    Bytes record(table.record_size);
    for (std::uint64_t i = 0; i < std::min(most, size(table)); ++i) {
        Row row = row_of(subject, i * step);
        row.peers = instances_ / instances_per_peer + 2;
        row.seed = seed_;
        const std::uint64_t chances = mixed(mixed(seed_) + i);
        for (std::size_t field = 0; field < field_rules.size(); ++field) {
            row.chance = mixed(chances + field);
            set_bytes(table.fields[field], field_rules[field].value(row), record);
        }
        if (subject == Subject::none) {
            set_bytes(table.primary_key().members.front(), i, record);
        }
        visit(record);
    }
}

} // namespace l2vpn::tool
