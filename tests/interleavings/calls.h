// SPDX-License-Identifier: MIT
// What the scenarios call: a table whose primary key is built by a move and by memcpy_s.
#pragma once

#include <array>

#include "l2vpn_db/l2vpn_vpls_macping.h"
#include "l2vpn_db/platform.h"
#include "tests/interleavings/explorer.h"

namespace l2vpn::interleavings {

constexpr std::uint32_t key_length = 14;
/// The store's result if it is asked for another record than the calling thread's.
constexpr std::uint32_t other_key = 99;

/// One for each thread of a scenario, with keys that differ in every byte.
extern std::array<L2vpnVplsMacping, max_threads> records;

/// Locks that are none.
namespace broken {

/// Takes a lock by looking at it and then storing to it.
void lock(std::uint32_t &lock);
void unlock(std::uint32_t &lock);

/// Raises a flag and looks at the other one; true if that is down.
bool enter(std::uint32_t &own, const std::uint32_t &other);

} // namespace broken

} // namespace l2vpn::interleavings
