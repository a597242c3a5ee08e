// SPDX-License-Identifier: MIT
// The table that the scenarios use: its primary key takes a plain copy and a memcpy_s.
#pragma once

#include <array>

#include "l2vpn_db/l2vpn_vpls_macping.h"
#include "l2vpn_db/platform.h"
#include "tests/interleavings/explorer.h"

namespace l2vpn::interleavings {

constexpr std::uint32_t key_length = 14;
/// The store's result for a key that is not the calling thread's.
constexpr std::uint32_t other_key = 99;

/// One per thread; the keys differ in every byte.
extern std::array<L2vpnVplsMacping, max_threads> records;

/// Broken locks, which the exploration must detect.
namespace broken {

/// Tests the lock and then stores to it, not atomically.
void lock(std::uint32_t &lock);
void unlock(std::uint32_t &lock);

/// Sets its own flag and tests the other one, without a fence between them.
/// @return whether the other flag is clear
bool enter(std::uint32_t &own, const std::uint32_t &other);

} // namespace broken

} // namespace l2vpn::interleavings
