// SPDX-License-Identifier: MIT
// What the router does when a protected pseudowire fails: it moves the traffic to the backup,
// forgets the MAC addresses that it learnt over the failed one, tells its peers to forget them,
// and marks all that has changed as a new batch. The tables give no meaning to values; here
// pgFlag 1 is "on the backup", bakFlag 1 is "on standby", svcStatus[0] 1 is "in service".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "l2vpn_db/l2vpn_vpls_pw.h"
#include "l2vpn_db/l2vpn_vpls_pwred_pg.h"
#include "l2vpn_db/l2vpn_vpls_vsimac.h"

namespace l2vpn::demo {

/// The group's pseudowires.
struct Protected {
    L2vpnVplsPw working, backup;
};

/// Finds the group's two pseudowires among those of its instance.
Protected pseudowires_of(const L2vpnVplsPwredPg &group);

/// Moves the traffic from the working pseudowire to the backup; all three are as stored afterwards.
void switch_to_backup(L2vpnVplsPwredPg &group, Protected &pseudowires);

/// Deletes the MAC addresses behind the failed pseudowire and stores the withdrawals for its other
/// end and for its instance.
/// @return what was deleted
std::vector<L2vpnVplsVsimac> withdraw_macs(const L2vpnVplsPw &failed, std::uint32_t batch_version);

/// A stored record's batch version, before and after.
struct BatchChange {
    std::string record;
    std::uint32_t before, after;
};

/// Changes nothing but the batch version of the group, its pseudowires and its instance.
std::vector<BatchChange> start_batch(const L2vpnVplsPwredPg &group, const Protected &pseudowires,
                                     std::uint32_t batch_version);

} // namespace l2vpn::demo
