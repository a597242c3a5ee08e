// SPDX-License-Identifier: MIT
// What the demo asks the tables about the router's services, in a fixed order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "l2vpn_db/l2vpn_extnhp.h"
#include "l2vpn_db/l2vpn_vpls_inst.h"
#include "l2vpn_db/l2vpn_vpls_macping.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"
#include "l2vpn_db/l2vpn_vpls_pwred_pg.h"
#include "l2vpn_db/l2vpn_vpls_vsimac.h"

namespace l2vpn::demo {

/// A VPLS instance, in whichever virtual router.
struct InstanceId {
    std::uint32_t vr;
    std::uint32_t instance;
};

std::string name_of(InstanceId id);         ///< "instance 100 in VR 1"
std::string name_of(const L2vpnVplsPw &pw); ///< "pseudowire 10001 in VR 1"
std::string name_of(const L2vpnVplsPwredPg &group);

std::vector<L2vpnVplsInst> vpls_instances();
std::vector<L2vpnVplsPwredPg> protection_groups();
std::vector<L2vpnVplsMacping> mac_pings();

std::vector<L2vpnVplsPw> pseudowires_of(InstanceId id);
std::vector<L2vpnVplsVsimac> macs_of(InstanceId id);
/// The addresses that were learnt from the pseudowire's peer.
std::vector<L2vpnVplsVsimac> macs_behind(const L2vpnVplsPw &pw);
std::vector<L2vpnExtnhp> next_hops_of(const L2vpnVplsPw &pw);

/// How many of each an instance has.
struct InstanceCounts {
    std::uint32_t circuits, sub_interfaces, shared, pseudowires, groups, macs;
};
InstanceCounts counts_of(InstanceId id);

} // namespace l2vpn::demo
