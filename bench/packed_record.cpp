// SPDX-License-Identifier: MIT
#include "bench/packed_record.h"

namespace l2vpn::bench {

PackedRecord packed(const L2vpnVplsPw &record) {
    constexpr decltype(&L2VPN_DB_L2vpnVplsPwSetPrimaryKey) builders[] = {
        L2VPN_DB_L2vpnVplsPwSetPrimaryKey,    L2VPN_DB_L2vpnVplsPwSetInstanceKey,
        L2VPN_DB_L2vpnVplsPwSetL2vpniidKey,   L2VPN_DB_L2vpnVplsPwSetVrindexKey,
        L2VPN_DB_L2vpnVplsPwSetSmoothHashKey, L2VPN_DB_L2vpnVplsPwSetGroupKey};
    PackedRecord result{};
    L2VPN_DB_L2vpnVplsPwSetAllFields(&record, result.bytes);
    for (PackedKey &key : result.keys) {
        std::uint32_t id[4] = {};
        L2vpnDbKeyData request{};
        builders[&key - result.keys](&record, &request, id, key.bytes);
        key.length = request.keyLength;
    }
    return result;
}

} // namespace l2vpn::bench
