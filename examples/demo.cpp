// SPDX-License-Identifier: MIT
// Loads the tables of a provider edge router from a file and lets a protected pseudowire fail.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <string_view>

#include <arpa/inet.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "failover.h"
#include "records/record_loader.h"

namespace l2vpn::demo {
namespace {

constexpr int runtime_failure = 1;
constexpr int bad_input = 2;

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

/// Pseudowire types 4 and 5 have names.
std::string encapsulation(std::uint16_t type) {
    return type == 4 ? "tagged" : type == 5 ? "raw" : std::to_string(type);
}

void print_instances() {
    constexpr const char *row =
        "  {:>2}  {:>8}  {:<6}  {:>8}  {:>14}  {:>6}  {:>11}  {:>6}  {:>4}  {:>7}\n";
    fmt::print(row, "VR", "instance", "encap", "circuits", "sub-interfaces", "shared",
               "pseudowires", "groups", "MACs", "ageing");
    const auto instances = records_of<L2vpnVplsInst>(
        L2VPN_DB_L2vpnVplsInstCreateIter(L2VPN_VPLS_INST_KEY_primary_key, nullptr),
        [](const L2vpnVplsInst &each) { return std::pair(each.vrIndex, each.instanceId); });
    for (const L2vpnVplsInst &each : instances) {
        const auto count_by =
            [&]<class Record>(std::uint32_t (*by)(const Record *, std::uint32_t *)) {
                return count(by, of_instance<Record>(each.vrIndex, each.instanceId));
            };
        fmt::print(row, each.vrIndex, each.instanceId, encapsulation(each.encapType),
                   count_by(L2VPN_DB_L2vpnVplsAcCountByInstanceKey),
                   count_by(L2VPN_DB_L2vpnVplsAcSubCountByInstanceKey),
                   count_by(L2VPN_DB_L2vpnVplsAcShareCountByInstanceKey),
                   count_by(L2VPN_DB_L2vpnVplsPwCountByVrindexKey),
                   count_by(L2VPN_DB_L2vpnVplsPwredPgCountByInstanceKey),
                   count_by(L2VPN_DB_L2vpnVplsVsimacCountByVrInstKey),
                   fmt::format("{} s", each.macAgeTime));
    }
}

std::string address_text(std::uint32_t address) {
    const in_addr in_network_order{htonl(address)};
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &in_network_order, text, sizeof text);
}

std::string tunnels_of(const L2vpnVplsPw &pw) {
    L2vpnExtnhp key{};
    key.l2vpnIid = pw.l2vpnIid;
    std::vector<std::uint32_t> tunnels;
    for (const L2vpnExtnhp &hop :
         records_of<L2vpnExtnhp>(L2VPN_DB_L2vpnExtnhpCreateL2vpniidIter(&key),
                                 [](const L2vpnExtnhp &each) { return each.tunnelId; })) {
        tunnels.push_back(hop.tunnelId);
    }
    return fmt::format("{}", fmt::join(tunnels, " "));
}

/// All pseudowires of the group's instance.
void print_group(const L2vpnVplsPwredPg &group) {
    constexpr const char *row =
        "  {:>10}  {:<8}  {:<7}  {:<9}  {:>3}  {:>8}  {:>9}  {:>6}  {:>4}  {:>5}\n";
    fmt::print("  the group's traffic is on {}\n",
               group.pgFlag == 0 ? fmt::format("its working pseudowire, {}", group.pwTunnelId)
                                 : fmt::format("its backup pseudowire, {}", group.bakPwTunnelId));
    fmt::print(row, "pseudowire", "role", "service", "peer", "VC", "label in", "label out",
               "tunnel", "MACs", "batch");
    for (const L2vpnVplsPw &pw : pseudowires_of(group.vrIndex, group.instanceId)) {
        fmt::print(row, pw.pwTunnelId,
                   pw.groupId == 0   ? "single"
                   : pw.bakFlag == 0 ? "carrying"
                                     : "standby",
                   pw.svcStatus[0] != 0 ? "in" : "out", address_text(pw.peerIp), pw.vcId,
                   pw.inVcLabel, pw.outVcLabel, tunnels_of(pw), learnt_macs(pw).size(),
                   pw.batchVersion);
    }
}

/// The stored record with this primary key, as the library formats it, in lines of some items.
template <class Record>
void print_record(const Record &key) {
    constexpr std::size_t width = 96;
    char text[2048];
    const Record record = read(key);
    if (Table<Record>::format(L2VPN_AST_WHOLE_RECORD, &record, text, sizeof text, "\n") ==
        L2VPN_AST_ERR) {
        throw std::runtime_error("the record is too long to print");
    }
    std::string line;
    fmt::print("  {}\n", Table<Record>::schema()->name);
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view item = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(item.size() + 1, rest.size()));
        if (line.size() + item.size() > width) {
            fmt::print("   {}\n", line);
            line.clear();
        }
        line.append(" ").append(item);
    }
    fmt::print("   {}\n", line);
}

/// The first group whose traffic is on its working pseudowire.
L2vpnVplsPwredPg choose_group() {
    const auto groups = records_of<L2vpnVplsPwredPg>(
        L2VPN_DB_L2vpnVplsPwredPgCreateIter(L2VPN_VPLS_PWRED_PG_KEY_primary_key, nullptr),
        [](const L2vpnVplsPwredPg &each) {
            return std::tuple(each.vrIndex, each.instanceId, each.pgId);
        });
    const auto found = std::ranges::find(groups, 0, &L2vpnVplsPwredPg::pgFlag);
    if (found == groups.end()) {
        throw std::runtime_error("no protection group has its traffic on the working pseudowire");
    }
    return *found;
}

void fail_over() {
    Protected service = protected_by(choose_group());
    print_heading("The pseudowires around " + name_of(service.group));
    print_group(service.group);

    print_heading(fmt::format("Failure of {}, {} takes over", name_of(service.working),
                              service.backup.pwTunnelId));
    const std::uint32_t batch = service.group.batchVersion + 1;
    switch_to_backup(service);
    const std::vector<L2vpnVplsVsimac> macs = withdraw_macs(service.working, batch);
    fmt::print("  {} MAC addresses withdrawn:\n", macs.size());
    for (const L2vpnVplsVsimac &mac : macs) {
        fmt::print("    {:02x}  VLAN {}\n", fmt::join(mac.macAddr, ":"), mac.vlanId);
    }
    fmt::print("  batch versions raised:\n");
    for (const auto &[record, before, after] : start_batch(service, batch)) {
        fmt::print("    {:<42}  {} -> {}\n", record, before, after);
    }

    print_heading("The same pseudowires afterwards");
    print_group(read(service.group));

    print_heading("Some of the written records, formatted by the library");
    print_record(service.group);
    L2vpnVplsPwMacdraw withdrawal{};
    withdrawal.vrIndex = service.working.vrIndex;
    withdrawal.pwTunnelId = service.working.pwTunnelId;
    withdrawal.pwTunnelType = service.working.pwTunnelType;
    print_record(withdrawal);
    print_record(
        of_instance<L2vpnVplsInstMacdraw>(service.group.vrIndex, service.group.instanceId));
}

int run(std::span<char *> arguments) {
    const std::string path = arguments.size() > 1 ? arguments[1] : "examples/provider_edge.json";
    if (arguments.size() > 2 || path.starts_with('-')) {
        fmt::print(stderr, "usage: l2vpn_demo [FILE]\n"
                           "FILE is a record file, by default examples/provider_edge.json.\n");
        return bad_input;
    }
    const records::LoadResult loaded = records::load(path);
    if (const std::string errors = loaded.errors(); !errors.empty()) {
        fmt::print(stderr, "{}\n", errors);
        return bad_input;
    }
    print_heading("Records loaded through the generic interfaces of their tables");
    print_loaded(path, loaded);
    print_heading("VPLS instances, a walk over the whole table, with counts by instance");
    print_instances();
    fail_over();
    return EXIT_SUCCESS;
}

} // namespace
} // namespace l2vpn::demo

int main(int argc, char **argv) {
    try {
        return l2vpn::demo::run({argv, static_cast<std::size_t>(argc)});
    } catch (const std::exception &failure) {
        (void)std::fprintf(stderr, "l2vpn_demo: %s\n", failure.what());
        return l2vpn::demo::runtime_failure;
    }
}
