// SPDX-License-Identifier: MIT
// Loads a provider edge router's tables from a file and lets a protected pseudowire fail: its
// traffic moves to the backup, and what was learnt over it is withdrawn.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "calls.h"
#include "failover.h"
#include "network.h"
#include "records/record_loader.h"
#include "report.h"

namespace l2vpn::demo {
namespace {

constexpr int runtime_failure = 1;
constexpr int bad_input = 2;

/// The first group whose traffic is on its working pseudowire.
L2vpnVplsPwredPg choose_group() {
    const std::vector<L2vpnVplsPwredPg> groups = protection_groups();
    const auto found = std::ranges::find(groups, 0, &L2vpnVplsPwredPg::pgFlag);
    if (found == groups.end()) {
        throw Failure("there is no protection group whose traffic could move to a backup");
    }
    return *found;
}

void play(const std::string &path, const records::LoadResult &loaded) {
    print_heading("The router's tables are loaded through their generic interfaces");
    print_loaded(path, loaded);
    print_heading("VPLS instances, a walk over the whole table, with counts by instance");
    print_instances();

    L2vpnVplsPwredPg group = choose_group();
    Protected pseudowires = pseudowires_of(group);
    print_heading("The pseudowires around " + name_of(group));
    print_group(group);

    print_heading(fmt::format("Failure of {}, {} takes over", name_of(pseudowires.working),
                              pseudowires.backup.pwTunnelId));
    const std::uint32_t next_batch = group.batchVersion + 1;
    switch_to_backup(group, pseudowires);
    print_withdrawn(withdraw_macs(pseudowires.working, next_batch));
    print_batch(start_batch(group, pseudowires, next_batch));
    print_heading("The same pseudowires afterwards");
    print_group(group);

    print_heading("What the failover has written, as the library renders it");
    print_written(group, pseudowires.working);
    print_heading("MAC pings before the failure");
    print_mac_pings();
    print_heading("One key, three iterators");
    print_fast_iterator(group);
    print_heading("What the store has counted");
    print_statistics();
}

int run(std::span<char *> arguments) {
    const std::string path = arguments.size() > 1 ? arguments[1] : "examples/provider_edge.json";
    if (arguments.size() > 2 || path.starts_with('-')) {
        fmt::print(stderr,
                   "usage: l2vpn_demo [FILE]\n"
                   "FILE holds the tables' records, {{\"<table>\": [{{\"<field>\": value, "
                   "...}}, ...], ...}};\nwithout it examples/provider_edge.json is read.\n");
        return bad_input;
    }
    const records::LoadResult loaded = records::load(path);
    if (const std::string errors = loaded.errors(); !errors.empty()) {
        fmt::print(stderr, "{}\n", errors);
        return bad_input;
    }
    play(path, loaded);
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
