// SPDX-License-Identifier: MIT
#include "tool/sample_network.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>

#include "tool/command.h"

namespace l2vpn::tool {
namespace {

constexpr std::uint64_t instances_per_router = 50, instances_per_peer = 5;
constexpr std::uint64_t pseudowires = 3, interfaces = 4, macs = 20; // of an instance
constexpr std::uint64_t events = 10; // one for so many of what they happen to

/// What a field's name says. Those up to `mac` say which thing a record is about, and the last one
/// of a primary key says how many records its table has.
enum class Meaning : std::uint8_t {
    router,
    instance,
    interface,
    pseudowire,
    index,
    mac,
    backup,
    tunnel,
    main_interface,
    vlan,
    customer_vlan,
    peer,
    label_in,
    label_out,
    circuit,
    encapsulation,
    mtu,
    age,
    process,
    status,
    time,
    nothing,
    opaque,
    other,
};

Meaning meaning_of(const Field &field) {
    static const std::map<std::string_view, Meaning> meanings = {
        {"vrIndex", Meaning::router},
        {"vrId", Meaning::router},
        {"instanceId", Meaning::instance},
        {"instId", Meaning::instance},
        {"vsiInstId", Meaning::instance},
        {"groupId", Meaning::instance},
        {"pgId", Meaning::instance},
        {"ifIndex", Meaning::interface},
        {"outIfIndex", Meaning::interface},
        {"vplsSubIf", Meaning::interface},
        {"pwTunnelId", Meaning::pseudowire},
        {"l2vpnIid", Meaning::index},
        {"pwCfgIndex", Meaning::index},
        {"macAddr", Meaning::mac},
        {"bakPwTunnelId", Meaning::backup},
        {"tunnelId", Meaning::tunnel},
        {"fwdTunnelId", Meaning::tunnel},
        {"tnlId", Meaning::tunnel},
        {"mainIfIndex", Meaning::main_interface},
        {"srcIfIndex", Meaning::main_interface},
        {"memIfIndex", Meaning::main_interface},
        {"peVlan", Meaning::vlan},
        {"peVid", Meaning::vlan},
        {"vlanId", Meaning::vlan},
        {"userVlanId", Meaning::vlan},
        {"sharePeVlan", Meaning::vlan},
        {"shareVlan", Meaning::vlan},
        {"vlanifId", Meaning::vlan},
        {"ceVlan", Meaning::customer_vlan},
        {"ceVid", Meaning::customer_vlan},
        {"peerIp", Meaning::peer},
        {"inVcLabel", Meaning::label_in},
        {"outVcLabel", Meaning::label_out},
        {"vcId", Meaning::circuit},
        {"pwId", Meaning::circuit},
        {"encapType", Meaning::encapsulation},
        {"mtu", Meaning::mtu},
        {"macAgeTime", Meaning::age},
        {"srcPid", Meaning::process},
        {"svcStatus", Meaning::status},
        {"svcErrcode", Meaning::nothing},
        {"flags", Meaning::nothing},
        {"tVrfIndex", Meaning::nothing},
    };
    const auto found = meanings.find(field.name);
    if (found != meanings.end()) {
        return found->second;
    }
    if (field.name.starts_with("timeStamp")) {
        return Meaning::time;
    }
    if (field.name.starts_with("res") || field.name.starts_with("rsv") ||
        field.name.starts_with("rev")) {
        return Meaning::nothing;
    }
    return field.kind == Field::Kind::bytes ? Meaning::opaque : Meaning::other;
}

/// What a table's records are about.
Meaning subject_of(const Table &table) {
    Meaning subject = Meaning::other;
    for (const Field &member : table.primary_key().members) {
        const Meaning meaning = meaning_of(member);
        if (meaning <= Meaning::mac) {
            subject = subject == Meaning::other ? meaning : std::max(subject, meaning);
        }
    }
    return subject;
}

/// Records of what has happened, not of what there is.
bool is_event(const Table &table) {
    return std::ranges::any_of(table.fields, [](const Field &field) {
        return field.name == "timeStamp" || field.name == "timeStampQuery";
    });
}

/// Spreads numbers evenly (the finaliser of SplitMix64).
std::uint64_t mixed(std::uint64_t number) {
    number += 0x9E3779B97F4A7C15U;
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9U;
    number = (number ^ number >> 27) * 0x94D049BB133111EBU;
    return number ^ number >> 31;
}

/// The things that a record is about and that it names, counted through the whole network.
struct Row {
    std::uint64_t number, router, instance, interface, pseudowire, mac, peers, chance;
};

Row row_of(Meaning subject, std::uint64_t number, std::uint64_t peers) {
    Row row{};
    row.number = number;
    row.peers = peers;
    const std::uint64_t per_instance = subject == Meaning::mac ? macs
                                       : subject >= Meaning::pseudowire && subject <= Meaning::index
                                           ? pseudowires
                                       : subject == Meaning::interface ? interfaces
                                                                       : 1;
    row.instance =
        subject == Meaning::router ? number * instances_per_router : number / per_instance;
    const std::uint64_t within = number % per_instance;
    row.router = row.instance / instances_per_router;
    row.interface = row.instance * interfaces + within % interfaces;
    row.pseudowire = row.instance * pseudowires + within % pseudowires;
    row.mac = row.instance * macs + within;
    return row;
}

std::uint64_t value_of(Meaning meaning, const Row &row) {
    constexpr std::uint64_t vlans = 4094, labels = 1U << 20, least_label = 1024;
    switch (meaning) {
    case Meaning::router:
        return row.router + 1;
    case Meaning::instance:
        return row.instance + 100;
    case Meaning::interface:
        return row.interface + 1;
    case Meaning::pseudowire:
        return row.pseudowire + 10000;
    case Meaning::index:
        return row.pseudowire + 1;
    case Meaning::backup: // the next one of the same instance
        return row.instance * pseudowires + (row.pseudowire + 1) % pseudowires + 10000;
    case Meaning::tunnel:
        return row.pseudowire % row.peers + 7000;
    case Meaning::main_interface:
        return row.interface / interfaces + 1'000'000'000;
    case Meaning::vlan:
        return row.interface % vlans + 1;
    case Meaning::customer_vlan:
        return row.number % vlans + 1;
    case Meaning::peer:
        return (10U << 24) + 1 + row.pseudowire % row.peers;
    case Meaning::label_in:
        return row.pseudowire % (labels - least_label) + least_label;
    case Meaning::label_out:
        return row.chance % (labels - least_label) + least_label;
    case Meaning::circuit:
        return row.pseudowire + 1;
    case Meaning::encapsulation: // tagged or raw
        return 4 + mixed(row.instance) % 2;
    case Meaning::mtu:
        return 1500;
    case Meaning::age:
        return 300;
    case Meaning::process:
        return 301 + row.router % 4;
    case Meaning::time:
        return 1'700'000'000 + row.number;
    case Meaning::nothing:
        return 0;
    case Meaning::mac:
    case Meaning::status:
    case Meaning::opaque:
    case Meaning::other:
        break;
    }
    return row.chance % 16 == 0 ? 0 : 1;
}

/// The first bytes of a run of bytes; a MAC address is one that is locally administered.
std::uint64_t bytes_of(Meaning meaning, const Row &row, std::uint64_t seed) {
    switch (meaning) {
    case Meaning::mac:
        return 0x02 | (seed & 0xFF) << 8 | __builtin_bswap64(row.mac) >> 32 << 16;
    case Meaning::status:
        return 1; // in service, and no second service
    case Meaning::nothing:
        return 0;
    default:
        return row.chance;
    }
}

void set(const Field &field, Meaning meaning, const Row &row, std::uint64_t seed, Bytes &record) {
    std::byte *const at = record.data() + field.offset;
    if (field.kind == Field::Kind::number || field.kind == Field::Kind::address) {
        records::put_number(at, field.width, value_of(meaning, row));
        return;
    }
    const std::uint64_t bytes = bytes_of(meaning, row, seed);
    for (std::size_t i = 0; i < std::min(field.width, sizeof bytes); ++i) {
        at[i] = static_cast<std::byte>(bytes >> 8 * i);
    }
}

} // namespace

SampleNetwork::SampleNetwork(const char *option, std::uint64_t instances, std::uint64_t seed)
    : instances_(instances), seed_(seed) {
    if (instances == 0 || instances > most_instances) {
        throw Failure(exit_bad_input, fmt::format("{}: found {}, expected a number from 1 to {}",
                                                  option, instances, most_instances));
    }
}

std::uint64_t SampleNetwork::size(const Table &table) const {
    const auto all = [&] {
        switch (subject_of(table)) {
        case Meaning::router:
            return (instances_ + instances_per_router - 1) / instances_per_router;
        case Meaning::interface:
            return instances_ * interfaces;
        case Meaning::pseudowire:
        case Meaning::index:
            return instances_ * pseudowires;
        case Meaning::mac:
            return instances_ * macs;
        case Meaning::other: { // only its key's first member tells a record from the others
            const std::size_t width = table.primary_key().members.front().width;
            return width < sizeof instances_ ? std::min(instances_, std::uint64_t{1} << 8 * width)
                                             : instances_;
        }
        default:
            return instances_;
        }
    };
    return is_event(table) ? (all() + events - 1) / events : all();
}

void SampleNetwork::records_of(const Table &table, std::uint64_t most, const Visitor &visit) const {
    const Meaning subject = subject_of(table);
    const std::uint64_t step = is_event(table) ? events : 1;
    const std::uint64_t peers = instances_ / instances_per_peer + 2;
    std::vector<Meaning> meanings(table.fields.size());
    std::ranges::transform(table.fields, meanings.begin(), meaning_of);
    Bytes record(table.record_size);
    for (std::uint64_t i = 0; i < std::min(most, size(table)); ++i) {
        Row row = row_of(subject, i * step, peers);
        const std::uint64_t chances = mixed(mixed(seed_) + i);
        for (std::size_t field = 0; field < meanings.size(); ++field) {
            row.chance = mixed(chances + field);
            set(table.fields[field], meanings[field], row, seed_, record);
        }
        if (subject == Meaning::other) { // then nothing else tells the records apart
            const Field &first = table.primary_key().members.front();
            for (std::size_t byte = 0; byte < first.width; ++byte) {
                record[first.offset + byte] =
                    byte < sizeof i ? static_cast<std::byte>(i >> 8 * byte) : std::byte{0};
            }
        }
        visit(record);
    }
}

} // namespace l2vpn::tool
