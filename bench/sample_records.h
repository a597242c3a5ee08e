// SPDX-License-Identifier: MIT
// Sample pseudowires, as a provider edge has them: the records of all benchmarks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "l2vpn_db/l2vpn_vpls_pw.h"

namespace l2vpn::bench {

constexpr std::size_t stored_length = 276;

/// Pseudowire i. Ten share an instance and thereby the values of two keys; a third of the table
/// shares a source process.
L2vpnVplsPw pseudowire(std::uint32_t i);

/// A packed primary key: vrIndex, pwTunnelId, pwTunnelType.
struct PrimaryKey {
    char bytes[9];
};

PrimaryKey primary_key(std::uint32_t i);

constexpr std::size_t order_length = std::size_t{1} << 20;

/// order_length random numbers below `end`.
std::vector<std::uint32_t> random_order(std::uint32_t end);

/// A permutation of the numbers from `first` to `end`.
std::vector<std::uint32_t> shuffled(std::uint32_t first, std::uint32_t end);

/// Fills the table with pseudowires 0 to `end`.
void fill_table(std::uint32_t end);

/// Throws an error with the result code.
[[noreturn]] void fail(std::uint32_t result);

inline void check(std::uint32_t result) {
    if (result != L2VPN_DB_OK) [[unlikely]]
        fail(result);
}

} // namespace l2vpn::bench
