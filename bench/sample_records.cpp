// SPDX-License-Identifier: MIT
#include "bench/sample_records.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>

namespace l2vpn::bench {

namespace {

std::mt19937 seeded() {
    return std::mt19937(20'011); // NOLINT(cert-msc32-c,cert-msc51-cpp): runs must be repeatable
}

} // namespace

L2vpnVplsPw pseudowire(std::uint32_t i) {
    L2vpnVplsPw record{};
    record.vrIndex = 1;
    record.pwTunnelId = i;
    record.pwTunnelType = 3;
    record.encapType = 5;
    record.instanceId = i / 10;
    record.inVcLabel = 16 + i;
    record.outVcLabel = 1024 + i;
    record.mtu = 1500;
    record.l2vpnIid = 100'000 + i;
    record.groupId = i % 4;
    record.peerIp = 0x0A000000 + i % 500;
    record.vcId = i;
    record.srcPid = i % 3;
    std::memset(record.svcCtx, static_cast<int>(i % 256), sizeof record.svcCtx);
    record.batchVersion = 1;
    record.timeStampApp = 1'000'000 + i;
    return record;
}

PrimaryKey primary_key(std::uint32_t i) {
    const L2vpnVplsPw record = pseudowire(i);
    L2vpnDbKeyData request{};
    std::uint32_t id[4] = {};
    PrimaryKey key;
    L2VPN_DB_L2vpnVplsPwSetPrimaryKey(&record, &request, id, key.bytes);
    return key;
}

std::vector<std::uint32_t> random_order(std::uint32_t end) {
    std::mt19937 random = seeded();
    std::vector<std::uint32_t> order(order_length);
    for (std::uint32_t &number : order)
        number = static_cast<std::uint32_t>(random() * std::uint64_t{end} >> 32);
    return order;
}

std::vector<std::uint32_t> shuffled(std::uint32_t first, std::uint32_t end) {
    std::vector<std::uint32_t> order(end - first);
    std::iota(order.begin(), order.end(), first);
    std::shuffle(order.begin(), order.end(), seeded());
    return order;
}

void fill_table(std::uint32_t end) {
    for (std::uint32_t i = 0; i < end; ++i) {
        const L2vpnVplsPw record = pseudowire(i);
        check(L2VPN_DB_L2vpnVplsPwWrite(&record));
    }
}

void fail(std::uint32_t result) {
    throw std::runtime_error("a call returned " + std::to_string(result));
}

} // namespace l2vpn::bench
