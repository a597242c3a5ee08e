// SPDX-License-Identifier: MIT
// Changing and deleting records that share a key with many others, and with few. Half of the table
// has one value of smooth_hash_key, the other half ten records per value.
#include <memory>

#include "bench/records.h"
#include "bench/sections.h"
#include "bench/slice.h"

namespace l2vpn::bench {

namespace {

constexpr std::size_t operations = 200; ///< in a slice

/// The members of groups of one kind, in random order.
struct Half {
    std::vector<L2vpnVplsPw> members;
    std::size_t next = 0;
};

Half half(std::uint32_t first, std::uint32_t end, std::uint32_t group) {
    Half result;
    for (const std::uint32_t i : shuffled(first, end)) {
        L2vpnVplsPw record = pseudowire(i);
        record.srcPid = 1000 + i / group;
        result.members.push_back(record);
    }
    return result;
}

/// Calls operation(record) for the next members; nanoseconds each.
template <class Operation>
double for_some(Half &half, Operation operation) {
    return timed(half.next, half.next + operations,
                 [&](std::size_t n) { operation(half.members[n % half.members.size()]); });
}

void write(const L2vpnVplsPw &record) {
    check(L2VPN_DB_L2vpnVplsPwWrite(&record));
}

/// Deletes records, and writes them again, which does not count.
double remove_some(Half &half) {
    const double result = for_some(
        half, [](const L2vpnVplsPw &record) { check(L2VPN_DB_L2vpnVplsPwDelete(&record)); });
    for_some(half, write);
    half.next += operations;
    return result;
}

/// Moves records to another group, and back.
double change_some(Half &half, std::uint32_t elsewhere) {
    const double away = for_some(half, [elsewhere](const L2vpnVplsPw &record) {
        L2vpnVplsPw changed = record;
        changed.srcPid = elsewhere;
        write(changed);
    });
    const double back = for_some(half, write);
    half.next += operations;
    return (away + back) / 2;
}

Slices set_up(std::uint32_t group) {
    const auto large = std::make_shared<Half>(half(0, group, group));
    const auto small = std::make_shared<Half>(half(group, 2 * group, 10));
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
    // "About the same" is the goal; beyond this, it is not.
    const Goal same = at_most(1.3);
    report({"delete from " + many, "from a group of 10", 2 * scale.group,
            compare(worker["delete, large"], worker["delete, small"], scale.slices), same});
    report({"change a key in " + many, "in a group of 10", 2 * scale.group,
            compare(worker["change, large"], worker["change, small"], scale.slices), same});
}

} // namespace l2vpn::bench
