// SPDX-License-Identifier: MIT
// The failure of a protected pseudowire: the traffic moves to the backup, the MAC addresses learnt
// over the failed one are deleted and withdrawn, and all changed records get a new batch version.
//
// The tables give no meaning to values. Here pgFlag 1 is "on the backup", bakFlag 1 "on standby"
// and svcStatus[0] 1 "in service".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tables.h"

namespace l2vpn::demo {

/// A record, empty except for the members of a key over virtual router and instance.
template <class Record>
Record of_instance(std::uint32_t vr, std::uint32_t instance) {
    Record record{};
    record.vrIndex = vr;
    record.instanceId = instance;
    return record;
}

std::vector<L2vpnVplsPw> pseudowires_of(std::uint32_t vr, std::uint32_t instance);
/// The addresses that were learnt from the pseudowire's peer.
std::vector<L2vpnVplsVsimac> learnt_macs(const L2vpnVplsPw &pw);

std::string name_of(const L2vpnVplsPw &pw); ///< "pseudowire 10001 in VR 1"
std::string name_of(const L2vpnVplsPwredPg &group);

/// A protection group with its pseudowires, as stored.
struct Protected {
    L2vpnVplsPwredPg group;
    L2vpnVplsPw working, backup;
};

/// Finds the group's pseudowires among those of its instance.
Protected protected_by(const L2vpnVplsPwredPg &group);

/// Moves the traffic from the working pseudowire to the backup.
void switch_to_backup(Protected &service);

/// Deletes the MAC addresses learnt over the failed pseudowire, and stores the withdrawals for the
/// peer and the instance.
/// @return the deleted addresses
std::vector<L2vpnVplsVsimac> withdraw_macs(const L2vpnVplsPw &failed, std::uint32_t batch);

/// The batch version of a record before and after a change.
struct BatchChange {
    std::string record;
    std::uint32_t before, after;
};

/// Updates only the batch versions: of the group, its pseudowires and its instance.
std::vector<BatchChange> start_batch(const Protected &service, std::uint32_t batch);

} // namespace l2vpn::demo
