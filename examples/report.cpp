// SPDX-License-Identifier: MIT
#include "report.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "calls.h"
#include "l2vpn_db/l2vpn_vpls_inst_macdraw.h"
#include "l2vpn_db/l2vpn_vpls_macping.h"
#include "l2vpn_db/l2vpn_vpls_macpingup.h"
#include "l2vpn_db/l2vpn_vpls_pw_macdraw.h"
#include "l2vpn_db/memory_store.h"
#include "network.h"

namespace l2vpn::demo {
namespace {

std::string address_text(std::uint32_t address) {
    return fmt::format("{}.{}.{}.{}", address >> 24, address >> 16 & 255, address >> 8 & 255,
                       address & 255);
}

std::string mac_text(const std::uint8_t (&mac)[6]) {
    return fmt::format("{:02x}", fmt::join(mac, ":"));
}

/// The whole record in the library's words, broken into lines between items.
void print_record(const std::string &title, L2vpnAstFormatFn format, const void *record) {
    constexpr std::size_t line_length = 96;
    std::array<char, 2048> text{};
    const std::uint32_t length =
        format(L2VPN_AST_WHOLE_RECORD, record, text.data(), text.size(), "\n");
    if (length == L2VPN_AST_ERR || length == 0) {
        throw Failure("format of " + title);
    }
    fmt::print("  {}\n", title);
    std::string line;
    std::string_view rest(text.data(), length);
    while (!rest.empty()) {
        const std::string_view item = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(item.size() + 1, rest.size()));
        if (line.size() + item.size() > line_length) {
            fmt::print("   {}\n", line);
            line.clear();
        }
        line += fmt::format(" {}", item);
    }
    fmt::print("   {}\n", line);
}

L2vpnVplsPwredPg stored(L2vpnVplsPwredPg group) {
    check(L2VPN_DB_L2vpnVplsPwredPgRead(&group), "read of " + name_of(group));
    return group;
}

/// As pseudowire types are numbered.
std::string encapsulation(std::uint16_t type) {
    switch (type) {
    case 4:
        return "tagged";
    case 5:
        return "raw";
    default:
        return std::to_string(type);
    }
}

std::string_view role_of(const L2vpnVplsPw &pw) {
    if (pw.groupId == 0) {
        return "single";
    }
    return pw.bakFlag == 0 ? "carrying" : "standby";
}

std::string tunnels_of(const L2vpnVplsPw &pw) {
    std::vector<std::string> tunnels;
    for (const L2vpnExtnhp &hop : next_hops_of(pw)) {
        tunnels.push_back(std::to_string(hop.tunnelId));
    }
    return fmt::format("{}", fmt::join(tunnels, " "));
}

std::string outcome_of(const L2vpnVplsMacping &ping) {
    L2vpnVplsMacpingup answer{};
    answer.vrId = ping.vrId;
    answer.vsiInstId = ping.vsiInstId;
    answer.userVlanId = ping.userVlanId;
    std::ranges::copy(ping.macAddr, answer.macAddr);
    const std::uint32_t result = L2VPN_DB_L2vpnVplsMacpingupRead(&answer);
    if (result == L2VPN_STORE_NOT_FOUND) {
        return "no answer";
    }
    check(result, "read of a MAC ping's result");
    return answer.ifIndex != 0 ? fmt::format("on interface {}", answer.ifIndex)
                               : fmt::format("through tunnel {}", answer.tnlId);
}

/// Whether the MAC address table has the pinged address.
bool is_known(const L2vpnVplsMacping &ping) {
    L2vpnVplsVsimac mac{};
    mac.vrIndex = ping.vrId;
    mac.instanceId = ping.vsiInstId;
    mac.vlanId = ping.userVlanId;
    std::ranges::copy(ping.macAddr, mac.macAddr);
    return count(L2VPN_DB_L2vpnVplsVsimacCountByPrimaryKey, mac, "a pinged MAC address") != 0;
}

} // namespace

void print_heading(const std::string &text) {
    static int number = 0;
    fmt::print("\n{:-<98}\n", fmt::format("-- {}. {} ", ++number, text));
}

void print_loaded(const std::string &path, const records::LoadResult &loaded) {
    fmt::print("{}: {} records in {} tables", path, loaded.stored, loaded.tables.size());
    constexpr int columns = 3;
    int column = 0;
    for (const auto &[table, count] : loaded.tables) {
        fmt::print("{}{:<23}{:>3}", column++ % columns == 0 ? "\n  " : "   ", table, count);
    }
    fmt::print("\n");
}

void print_instances() {
    fmt::print("  {:>2}  {:>8}  {:<6}  {:>8}  {:>14}  {:>6}  {:>11}  {:>6}  {:>4}  {:>7}\n", "VR",
               "instance", "encap", "circuits", "sub-interfaces", "shared", "pseudowires", "groups",
               "MACs", "ageing");
    for (const L2vpnVplsInst &instance : vpls_instances()) {
        const InstanceCounts counts = counts_of({instance.vrIndex, instance.instanceId});
        fmt::print("  {:>2}  {:>8}  {:<6}  {:>8}  {:>14}  {:>6}  {:>11}  {:>6}  {:>4}  {:>5} s\n",
                   instance.vrIndex, instance.instanceId, encapsulation(instance.encapType),
                   counts.circuits, counts.sub_interfaces, counts.shared, counts.pseudowires,
                   counts.groups, counts.macs, instance.macAgeTime);
    }
}

void print_group(const L2vpnVplsPwredPg &group) {
    const L2vpnVplsPwredPg now = stored(group);
    fmt::print("  the group's traffic is on {}\n",
               now.pgFlag == 0 ? fmt::format("its working pseudowire, {}", now.pwTunnelId)
                               : fmt::format("its backup pseudowire, {}", now.bakPwTunnelId));
    fmt::print("  {:>10}  {:<8}  {:<7}  {:<9}  {:>3}  {:>8}  {:>9}  {:>6}  {:>4}  {:>5}\n",
               "pseudowire", "role", "service", "peer", "VC", "label in", "label out", "tunnel",
               "MACs", "batch");
    for (const L2vpnVplsPw &pw : pseudowires_of(InstanceId{group.vrIndex, group.instanceId})) {
        fmt::print("  {:>10}  {:<8}  {:<7}  {:<9}  {:>3}  {:>8}  {:>9}  {:>6}  {:>4}  {:>5}\n",
                   pw.pwTunnelId, role_of(pw), pw.svcStatus[0] != 0 ? "in" : "out",
                   address_text(pw.peerIp), pw.vcId, pw.inVcLabel, pw.outVcLabel, tunnels_of(pw),
                   macs_behind(pw).size(), pw.batchVersion);
    }
}

void print_withdrawn(const std::vector<L2vpnVplsVsimac> &macs) {
    fmt::print("  {} MAC addresses withdrawn:\n", macs.size());
    for (const L2vpnVplsVsimac &mac : macs) {
        fmt::print("    {}  VLAN {}\n", mac_text(mac.macAddr), mac.vlanId);
    }
}

void print_batch(const std::vector<BatchChange> &changes) {
    fmt::print("  batch versions raised:\n");
    for (const auto &[record, before, after] : changes) {
        fmt::print("    {:<42}  {} -> {}\n", record, before, after);
    }
}

void print_written(const L2vpnVplsPwredPg &group, const L2vpnVplsPw &failed) {
    const L2vpnVplsPwredPg stored_group = stored(group);
    print_record("l2vpn_vpls_pwred_pg", L2VPN_AST_L2vpnVplsPwredPgFormat, &stored_group);

    L2vpnVplsPwMacdraw of_pw{};
    of_pw.vrIndex = failed.vrIndex;
    of_pw.pwTunnelId = failed.pwTunnelId;
    of_pw.pwTunnelType = failed.pwTunnelType;
    check(L2VPN_DB_L2vpnVplsPwMacdrawRead(&of_pw), "read of the withdrawal of " + name_of(failed));
    print_record("l2vpn_vpls_pw_macdraw", L2VPN_AST_L2vpnVplsPwMacdrawFormat, &of_pw);

    L2vpnVplsInstMacdraw of_instance{};
    of_instance.vrIndex = failed.vrIndex;
    of_instance.instanceId = failed.instanceId;
    check(L2VPN_DB_L2vpnVplsInstMacdrawRead(&of_instance),
          "read of the withdrawal of the instance of " + name_of(failed));
    print_record("l2vpn_vpls_inst_macdraw", L2VPN_AST_L2vpnVplsInstMacdrawFormat, &of_instance);
}

void print_fast_iterator(const L2vpnVplsPwredPg &group) {
    const auto *const fast = reinterpret_cast<const L2vpnDbIter *>(&g_l2vpnL2vpnVplsPwredPgGlbCb);
    const auto open = [&] {
        return opened(L2VPN_DB_L2vpnVplsPwredPgCreateFastPriIter(&group),
                      L2VPN_DB_L2vpnVplsPwredPgReleaseIter, name_of(group));
    };
    const auto walk = [&](std::string_view which, const Iterator &iterator) {
        L2vpnVplsPwredPg record{};
        check(L2VPN_DB_L2vpnVplsPwredPgGetNext(iterator.get(), &record),
              "next of " + name_of(group));
        const std::uint32_t end = L2VPN_DB_L2vpnVplsPwredPgGetNext(iterator.get(), &record);
        if (!is_end(end)) {
            check(end, "second next of " + name_of(group));
        }
        fmt::print("  {:<34}  {:<17}  a record, then {:#x}\n", which,
                   iterator.get() == fast ? "the fast iterator" : "the store's", end);
    };
    const auto opened_by_store = [] {
        return L2VPN_DB_L2vpnVplsPwredPgGetStat(L2VPN_STORE_STAT_KEY_ITER_OPENED);
    };

    const std::uint32_t before = opened_by_store();
    fmt::print("  {:<34}  {:<17}  {}\n", "iterator", "handle", "results of GetNext");
    Iterator first = open();
    Iterator second = open();
    walk("first", first);
    walk("second, while the first is out", second);
    release(std::move(first), name_of(group));
    Iterator third = open();
    walk("third, after the first's release", third);
    release(std::move(second), name_of(group));
    release(std::move(third), name_of(group));
    fmt::print("  iterators that the store had to open for the three: {}\n",
               opened_by_store() - before);
}

void print_mac_pings() {
    constexpr const char *row = "  {:>2}  {:>8}  {:>4}  {:<17}  {:<19}  {}\n";
    fmt::print(fmt::runtime(row), "VR", "instance", "VLAN", "MAC address", "was found",
               "known now");
    for (const L2vpnVplsMacping &ping : mac_pings()) {
        fmt::print(fmt::runtime(row), ping.vrId, ping.vsiInstId, ping.userVlanId,
                   mac_text(ping.macAddr), outcome_of(ping), is_known(ping) ? "yes" : "no");
    }
}

void print_statistics() {
    using GetStat = std::uint32_t (*)(std::uint32_t);
    constexpr std::array<std::pair<const char *, GetStat>, 6> tables{{
        {"l2vpn_vpls_inst", L2VPN_DB_L2vpnVplsInstGetStat},
        {"l2vpn_vpls_pw", L2VPN_DB_L2vpnVplsPwGetStat},
        {"l2vpn_vpls_pwred_pg", L2VPN_DB_L2vpnVplsPwredPgGetStat},
        {"l2vpn_vpls_vsimac", L2VPN_DB_L2vpnVplsVsimacGetStat},
        {"l2vpn_vpls_pw_macdraw", L2VPN_DB_L2vpnVplsPwMacdrawGetStat},
        {"l2vpn_extnhp", L2VPN_DB_L2vpnExtnhpGetStat},
    }};
    constexpr std::array<std::pair<const char *, L2vpnStoreStat>, 8> events{{
        {"inserted", L2VPN_STORE_STAT_INSERTED},
        {"replaced", L2VPN_STORE_STAT_REPLACED},
        {"read", L2VPN_STORE_STAT_READ},
        {"updated", L2VPN_STORE_STAT_UPDATED},
        {"deleted", L2VPN_STORE_STAT_DELETED},
        {"walks", L2VPN_STORE_STAT_ITER_OPENED},
        {"by key", L2VPN_STORE_STAT_KEY_ITER_OPENED},
        {"records", L2VPN_STORE_STAT_DELIVERED},
    }};
    fmt::print("  {:<21}", "table");
    for (const auto &[event, id] : events) {
        fmt::print(" {:>8}", event);
    }
    for (const auto &[table, get_stat] : tables) {
        fmt::print("\n  {:<21}", table);
        for (const auto &[event, id] : events) {
            fmt::print(" {:>8}", get_stat(id));
        }
    }
    fmt::print("\n");
}

} // namespace l2vpn::demo
