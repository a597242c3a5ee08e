// SPDX-License-Identifier: MIT
// Changes and deletes records whose key value is shared by many records, and by few. Half of the
// table has one value of smooth_hash_key, the other half has ten records per value.
#include <memory>

#include "bench/benchmarks.h"
#include "bench/sample_records.h"
#include "bench/slice.h"

namespace l2vpn::bench {

namespace {

constexpr std::size_t operations = 200; ///< per slice

/// The records of all groups of one size, in random order.
struct Groups {
    std::vector<L2vpnVplsPw> members;
    std::size_t next = 0;
};

Groups make_groups(std::uint32_t first, std::uint32_t end, std::uint32_t size) {
    Groups result;
    for (const std::uint32_t i : shuffled(first, end)) {
        L2vpnVplsPw record = pseudowire(i);
        record.srcPid = 1000 + i / size;
        result.members.push_back(record);
    }
    return result;
}

/// Calls operation(record) for the next members; returns nanoseconds per call.
template <class Operation>
double for_some(Groups &groups, Operation operation) {
    return timed(groups.next, groups.next + operations,
                 [&](std::size_t n) { operation(groups.members[n % groups.members.size()]); });
}

void write(const L2vpnVplsPw &record) {
    check(L2VPN_DB_L2vpnVplsPwWrite(&record));
}

/// Times deletions, then writes the records again.
double remove_some(Groups &groups) {
    const double result = for_some(
        groups, [](const L2vpnVplsPw &record) { check(L2VPN_DB_L2vpnVplsPwDelete(&record)); });
    for_some(groups, write);
    groups.next += operations;
    return result;
}

/// Moves records to another group, and back.
double change_some(Groups &groups, std::uint32_t other_group) {
    const double away = for_some(groups, [other_group](const L2vpnVplsPw &record) {
        L2vpnVplsPw changed = record;
        changed.srcPid = other_group;
        write(changed);
    });
    const double back = for_some(groups, write);
    groups.next += operations;
    return (away + back) / 2;
}

Slices set_up(std::uint32_t group) {
    const auto large = std::make_shared<Groups>(make_groups(0, group, group));
    const auto small = std::make_shared<Groups>(make_groups(group, 2 * group, 10));
    for (const auto &records : {large, small})
        for (const L2vpnVplsPw &record : records->members)
            write(record);
    return {{"delete, large", [large] { return remove_some(*large); }},
            {"delete, small", [small] { return remove_some(*small); }},
            {"change, large", [large] { return change_some(*large, 1); }},
            {"change, small", [small] { return change_some(*small, 2); }}};
}

} // namespace

void measure_groups(const Scale &scale) {
    Worker worker([&scale] { return set_up(scale.group); });
    const std::string many = "a group of " + std::to_string(scale.group);
    // The goal is "about the same", defined as:
    const Goal same = at_most(1.3);
    report({"delete from " + many, "from a group of 10", 2 * scale.group,
            compare(worker["delete, large"], worker["delete, small"], scale.slices), same});
    report({"change a key in " + many, "in a group of 10", 2 * scale.group,
            compare(worker["change, large"], worker["change, small"], scale.slices), same});
}

} // namespace l2vpn::bench
