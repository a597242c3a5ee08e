// SPDX-License-Identifier: MIT
// The pseudowires that everything is measured with, as a provider edge would hold them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "l2vpn_db/l2vpn_vpls_pw.h"

namespace l2vpn::bench {

constexpr std::size_t stored_length = 276;

/// Pseudowire i. Ten share an instance, and with it two keys; a third of the table shares a source
/// process.
L2vpnVplsPw pseudowire(std::uint32_t i);

/// A packed primary key: vrIndex, pwTunnelId, pwTunnelType.
struct PrimaryKey {
    char bytes[9];
};

PrimaryKey primary_key(std::uint32_t i);

constexpr std::size_t order_length = std::size_t{1} << 20;

/// Numbers below `end` in random order, order_length of them.
std::vector<std::uint32_t> random_order(std::uint32_t end);

/// Numbers from `first` to `end`, each once, in random order.
std::vector<std::uint32_t> shuffled(std::uint32_t first, std::uint32_t end);

/// Fills the table with pseudowires 0 to `end`.
void fill_table(std::uint32_t end);

/// Throws for the result code of a failure.
[[noreturn]] void fail(std::uint32_t result);

inline void check(std::uint32_t result) {
    if (result != L2VPN_DB_OK) [[unlikely]]
        fail(result);
}

} // namespace l2vpn::bench
