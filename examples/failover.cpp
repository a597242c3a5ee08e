// SPDX-License-Identifier: MIT
#include "failover.h"

#include <ctime>
#include <tuple>

namespace l2vpn::demo {
namespace {

constexpr std::uint8_t withdrawn_by_failure = 1;

L2vpnVplsPw pseudowire_of(const L2vpnVplsPwredPg &group, std::uint32_t tunnel_id) {
    for (const L2vpnVplsPw &pw : pseudowires_of(group.vrIndex, group.instanceId)) {
        if (pw.pwTunnelId == tunnel_id) {
            return pw;
        }
    }
    throw std::runtime_error(fmt::format("{}: no pseudowire {}", name_of(group), tunnel_id));
}

/// A withdrawal of what was learnt over a pseudowire, without the members that say over which.
template <class Withdrawal>
Withdrawal withdrawal_of(const L2vpnVplsPw &failed, std::uint32_t batch) {
    auto withdrawal = of_instance<Withdrawal>(failed.vrIndex, failed.instanceId);
    withdrawal.timeStamp = static_cast<std::uint32_t>(std::time(nullptr));
    withdrawal.macEvent = withdrawn_by_failure;
    withdrawal.srcPid = failed.srcPid;
    withdrawal.batchVersion = batch;
    return withdrawal;
}

template <class Record>
BatchChange change_batch(Record record, std::uint32_t batch, std::uint32_t field_id,
                         const std::string &name) {
    const std::uint32_t before = read(record).batchVersion;
    record.batchVersion = batch;
    update_field(record, field_id);
    return {name, before, read(record).batchVersion};
}

} // namespace

std::string name_of(const L2vpnVplsPw &pw) {
    return fmt::format("pseudowire {} in VR {}", pw.pwTunnelId, pw.vrIndex);
}

std::string name_of(const L2vpnVplsPwredPg &group) {
    return fmt::format("protection group {} of instance {} in VR {}", group.pgId, group.instanceId,
                       group.vrIndex);
}

std::vector<L2vpnVplsPw> pseudowires_of(std::uint32_t vr, std::uint32_t instance) {
    const auto key = of_instance<L2vpnVplsPw>(vr, instance);
    return records_of<L2vpnVplsPw>(
        L2VPN_DB_L2vpnVplsPwCreateVrindexIter(&key),
        [](const L2vpnVplsPw &pw) { return std::tuple(pw.pwTunnelId, pw.pwTunnelType); });
}

std::vector<L2vpnVplsVsimac> learnt_macs(const L2vpnVplsPw &pw) {
    const auto key = of_instance<L2vpnVplsVsimac>(pw.vrIndex, pw.instanceId);
    auto macs = records_of<L2vpnVplsVsimac>(
        L2VPN_DB_L2vpnVplsVsimacCreateVrInstIter(&key), [](const L2vpnVplsVsimac &mac) {
            return std::tuple(mac.vlanId, std::vector(mac.macAddr, std::end(mac.macAddr)));
        });
    std::erase_if(macs, [&](const L2vpnVplsVsimac &mac) {
        return mac.peerIp != pw.peerIp || mac.pwId != pw.vcId;
    });
    return macs;
}

Protected protected_by(const L2vpnVplsPwredPg &group) {
    return {group, pseudowire_of(group, group.pwTunnelId),
            pseudowire_of(group, group.bakPwTunnelId)};
}

void switch_to_backup(Protected &service) {
    service.backup.bakFlag = 0;
    write(service.backup);
    service.working.bakFlag = 1;
    service.working.svcStatus[0] = 0;
    write(service.working);
    service.group.pgFlag = 1;
    write(service.group);
}

std::vector<L2vpnVplsVsimac> withdraw_macs(const L2vpnVplsPw &failed, std::uint32_t batch) {
    std::vector<L2vpnVplsVsimac> macs = learnt_macs(failed);
    for (const L2vpnVplsVsimac &mac : macs) {
        remove(mac);
    }
    auto of_pw = withdrawal_of<L2vpnVplsPwMacdraw>(failed, batch);
    of_pw.pwTunnelId = failed.pwTunnelId;
    of_pw.pwTunnelType = failed.pwTunnelType;
    write(of_pw);
    write(withdrawal_of<L2vpnVplsInstMacdraw>(failed, batch));
    return macs;
}

std::vector<BatchChange> start_batch(const Protected &service, std::uint32_t batch) {
    const auto &[group, working, backup] = service;
    return {
        change_batch(group, batch, L2VPN_VPLS_PWRED_PG_FIELD_batchVersion, name_of(group)),
        change_batch(working, batch, L2VPN_VPLS_PW_FIELD_batchVersion, name_of(working)),
        change_batch(backup, batch, L2VPN_VPLS_PW_FIELD_batchVersion, name_of(backup)),
        change_batch(of_instance<L2vpnVplsInst>(group.vrIndex, group.instanceId), batch,
                     L2VPN_VPLS_INST_FIELD_batchVersion,
                     fmt::format("instance {} in VR {}", group.instanceId, group.vrIndex)),
    };
}

} // namespace l2vpn::demo
