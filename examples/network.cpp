// SPDX-License-Identifier: MIT
#include "network.h"

#include <algorithm>
#include <tuple>

#include <fmt/format.h>

#include "calls.h"
#include "l2vpn_db/l2vpn_vpls_ac.h"
#include "l2vpn_db/l2vpn_vpls_ac_share.h"
#include "l2vpn_db/l2vpn_vpls_ac_sub.h"

namespace l2vpn::demo {
namespace {

/// The store promises no order.
template <class Record, class Key>
std::vector<Record> sorted(std::vector<Record> records, Key key) {
    std::ranges::sort(records, {}, key);
    return records;
}

/// A record that holds the members of a key over virtual router and instance.
template <class Record>
Record key_of(InstanceId id) {
    Record record{};
    record.vrIndex = id.vr;
    record.instanceId = id.instance;
    return record;
}

std::tuple<std::uint32_t, std::uint32_t, std::uint64_t> order_of(const L2vpnVplsVsimac &mac) {
    std::uint64_t address = 0;
    for (const std::uint8_t byte : mac.macAddr) {
        address = address << 8 | byte;
    }
    return {mac.instanceId, mac.vlanId, address};
}

} // namespace

std::string name_of(InstanceId id) {
    return fmt::format("instance {} in VR {}", id.instance, id.vr);
}

std::string name_of(const L2vpnVplsPw &pw) {
    return fmt::format("pseudowire {} in VR {}", pw.pwTunnelId, pw.vrIndex);
}

std::string name_of(const L2vpnVplsPwredPg &group) {
    return fmt::format("protection group {} of instance {} in VR {}", group.pgId, group.instanceId,
                       group.vrIndex);
}

std::vector<L2vpnVplsInst> vpls_instances() {
    return sorted(
        records(L2VPN_DB_L2vpnVplsInstCreateIter(L2VPN_VPLS_INST_KEY_primary_key, nullptr),
                L2VPN_DB_L2vpnVplsInstGetNext, L2VPN_DB_L2vpnVplsInstReleaseIter,
                "the VPLS instances"),
        [](const auto &inst) { return std::tuple(inst.vrIndex, inst.instanceId); });
}

std::vector<L2vpnVplsPwredPg> protection_groups() {
    return sorted(
        records(L2VPN_DB_L2vpnVplsPwredPgCreateIter(L2VPN_VPLS_PWRED_PG_KEY_primary_key, nullptr),
                L2VPN_DB_L2vpnVplsPwredPgGetNext, L2VPN_DB_L2vpnVplsPwredPgReleaseIter,
                "the protection groups"),
        [](const auto &group) { return std::tuple(group.vrIndex, group.instanceId, group.pgId); });
}

std::vector<L2vpnVplsMacping> mac_pings() {
    return sorted(
        records(L2VPN_DB_L2vpnVplsMacpingCreateIter(L2VPN_VPLS_MACPING_KEY_primary_key, nullptr),
                L2VPN_DB_L2vpnVplsMacpingGetNext, L2VPN_DB_L2vpnVplsMacpingReleaseIter,
                "the MAC pings"),
        [](const auto &ping) { return std::tuple(ping.vrId, ping.vsiInstId, ping.userVlanId); });
}

std::vector<L2vpnVplsPw> pseudowires_of(InstanceId id) {
    const auto key = key_of<L2vpnVplsPw>(id);
    return sorted(records(L2VPN_DB_L2vpnVplsPwCreateVrindexIter(&key), L2VPN_DB_L2vpnVplsPwGetNext,
                          L2VPN_DB_L2vpnVplsPwReleaseIter, "the pseudowires of " + name_of(id)),
                  [](const auto &pw) { return std::tuple(pw.pwTunnelId, pw.pwTunnelType); });
}

std::vector<L2vpnVplsVsimac> macs_of(InstanceId id) {
    const auto key = key_of<L2vpnVplsVsimac>(id);
    return sorted(records(L2VPN_DB_L2vpnVplsVsimacCreateVrInstIter(&key),
                          L2VPN_DB_L2vpnVplsVsimacGetNext, L2VPN_DB_L2vpnVplsVsimacReleaseIter,
                          "the MAC addresses of " + name_of(id)),
                  order_of);
}

std::vector<L2vpnVplsVsimac> macs_behind(const L2vpnVplsPw &pw) {
    std::vector<L2vpnVplsVsimac> macs = macs_of({pw.vrIndex, pw.instanceId});
    std::erase_if(macs, [&](const L2vpnVplsVsimac &mac) {
        return mac.peerIp != pw.peerIp || mac.pwId != pw.vcId;
    });
    return macs;
}

std::vector<L2vpnExtnhp> next_hops_of(const L2vpnVplsPw &pw) {
    L2vpnExtnhp key{};
    key.l2vpnIid = pw.l2vpnIid;
    return sorted(records(L2VPN_DB_L2vpnExtnhpCreateL2vpniidIter(&key), L2VPN_DB_L2vpnExtnhpGetNext,
                          L2VPN_DB_L2vpnExtnhpReleaseIter, "the next hops of " + name_of(pw)),
                  [](const auto &hop) { return std::tuple(hop.tunnelId, hop.tunnelType); });
}

InstanceCounts counts_of(InstanceId id) {
    const std::string of = " of " + name_of(id);
    return {
        count(L2VPN_DB_L2vpnVplsAcCountByInstanceKey, key_of<L2vpnVplsAc>(id), "circuits" + of),
        count(L2VPN_DB_L2vpnVplsAcSubCountByInstanceKey, key_of<L2vpnVplsAcSub>(id),
              "sub-interfaces" + of),
        count(L2VPN_DB_L2vpnVplsAcShareCountByInstanceKey, key_of<L2vpnVplsAcShare>(id),
              "shared interfaces" + of),
        count(L2VPN_DB_L2vpnVplsPwCountByVrindexKey, key_of<L2vpnVplsPw>(id), "pseudowires" + of),
        count(L2VPN_DB_L2vpnVplsPwredPgCountByInstanceKey, key_of<L2vpnVplsPwredPg>(id),
              "protection groups" + of),
        count(L2VPN_DB_L2vpnVplsVsimacCountByVrInstKey, key_of<L2vpnVplsVsimac>(id),
              "MAC addresses" + of),
    };
}

} // namespace l2vpn::demo
