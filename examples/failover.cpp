// SPDX-License-Identifier: MIT
#include "failover.h"

#include <algorithm>
#include <chrono>

#include <fmt/format.h>

#include "calls.h"
#include "l2vpn_db/l2vpn_vpls_inst_macdraw.h"
#include "l2vpn_db/l2vpn_vpls_pw_macdraw.h"
#include "network.h"

namespace l2vpn::demo {
namespace {

constexpr std::uint8_t withdrawn_by_failure = 1;

L2vpnVplsPw find(const std::vector<L2vpnVplsPw> &pseudowires, std::uint32_t tunnel_id,
                 const L2vpnVplsPwredPg &group) {
    const auto found = std::ranges::find(pseudowires, tunnel_id, &L2vpnVplsPw::pwTunnelId);
    if (found == pseudowires.end()) {
        throw Failure(fmt::format("{}: no pseudowire {}", name_of(group), tunnel_id));
    }
    return *found;
}

std::uint32_t seconds_now() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

L2vpnVplsPwMacdraw withdrawal_of(const L2vpnVplsPw &pw, std::uint32_t batch_version) {
    L2vpnVplsPwMacdraw withdrawal{};
    withdrawal.vrIndex = pw.vrIndex;
    withdrawal.pwTunnelId = pw.pwTunnelId;
    withdrawal.pwTunnelType = pw.pwTunnelType;
    withdrawal.macEvent = withdrawn_by_failure;
    withdrawal.instanceId = pw.instanceId;
    withdrawal.timeStamp = seconds_now();
    withdrawal.srcPid = pw.srcPid;
    withdrawal.batchVersion = batch_version;
    return withdrawal;
}

L2vpnVplsInstMacdraw instance_withdrawal_of(const L2vpnVplsPw &pw, std::uint32_t batch_version) {
    L2vpnVplsInstMacdraw withdrawal{};
    withdrawal.vrIndex = pw.vrIndex;
    withdrawal.instanceId = pw.instanceId;
    withdrawal.timeStamp = seconds_now();
    withdrawal.macEvent = withdrawn_by_failure;
    withdrawal.srcPid = pw.srcPid;
    withdrawal.batchVersion = batch_version;
    return withdrawal;
}

/// Reads the record, changes its batch version alone, and reads it again to see.
template <class Record>
BatchChange change_batch(Record record, std::uint32_t batch_version,
                         std::uint32_t (*read)(Record *),
                         std::uint32_t (*update_field)(const Record *, std::uint32_t),
                         std::uint32_t batch_version_id, const std::string &name) {
    check(read(&record), "read of " + name);
    const std::uint32_t before = record.batchVersion;
    record.batchVersion = batch_version;
    check(update_field(&record, batch_version_id), "batch version of " + name);
    check(read(&record), "read of " + name);
    return {name, before, record.batchVersion};
}

} // namespace

Protected pseudowires_of(const L2vpnVplsPwredPg &group) {
    const std::vector<L2vpnVplsPw> all =
        pseudowires_of(InstanceId{group.vrIndex, group.instanceId});
    return {find(all, group.pwTunnelId, group), find(all, group.bakPwTunnelId, group)};
}

void switch_to_backup(L2vpnVplsPwredPg &group, Protected &pseudowires) {
    auto &[working, backup] = pseudowires;
    backup.bakFlag = 0;
    check(L2VPN_DB_L2vpnVplsPwWrite(&backup), "write of " + name_of(backup));
    working.bakFlag = 1;
    working.svcStatus[0] = 0;
    check(L2VPN_DB_L2vpnVplsPwWrite(&working), "write of " + name_of(working));
    group.pgFlag = 1;
    check(L2VPN_DB_L2vpnVplsPwredPgWrite(&group), "write of " + name_of(group));
}

std::vector<L2vpnVplsVsimac> withdraw_macs(const L2vpnVplsPw &failed, std::uint32_t batch_version) {
    std::vector<L2vpnVplsVsimac> macs = macs_behind(failed);
    for (const L2vpnVplsVsimac &mac : macs) {
        check(L2VPN_DB_L2vpnVplsVsimacDelete(&mac),
              "delete of a MAC address behind " + name_of(failed));
    }
    const L2vpnVplsPwMacdraw withdrawal = withdrawal_of(failed, batch_version);
    check(L2VPN_DB_L2vpnVplsPwMacdrawWrite(&withdrawal), "MAC withdrawal of " + name_of(failed));
    const L2vpnVplsInstMacdraw instance_withdrawal = instance_withdrawal_of(failed, batch_version);
    check(L2VPN_DB_L2vpnVplsInstMacdrawWrite(&instance_withdrawal),
          "MAC withdrawal of " + name_of(InstanceId{failed.vrIndex, failed.instanceId}));
    return macs;
}

std::vector<BatchChange> start_batch(const L2vpnVplsPwredPg &group, const Protected &pseudowires,
                                     std::uint32_t batch_version) {
    std::vector<BatchChange> changes;
    changes.push_back(change_batch(group, batch_version, L2VPN_DB_L2vpnVplsPwredPgRead,
                                   L2VPN_DB_L2vpnVplsPwredPgUpdateField,
                                   L2VPN_VPLS_PWRED_PG_FIELD_batchVersion, name_of(group)));
    for (const L2vpnVplsPw &pw : {pseudowires.working, pseudowires.backup}) {
        changes.push_back(change_batch(pw, batch_version, L2VPN_DB_L2vpnVplsPwRead,
                                       L2VPN_DB_L2vpnVplsPwUpdateField,
                                       L2VPN_VPLS_PW_FIELD_batchVersion, name_of(pw)));
    }
    L2vpnVplsInst instance{};
    instance.vrIndex = group.vrIndex;
    instance.instanceId = group.instanceId;
    changes.push_back(change_batch(instance, batch_version, L2VPN_DB_L2vpnVplsInstRead,
                                   L2VPN_DB_L2vpnVplsInstUpdateField,
                                   L2VPN_VPLS_INST_FIELD_batchVersion,
                                   name_of(InstanceId{instance.vrIndex, instance.instanceId})));
    return changes;
}

} // namespace l2vpn::demo
