// SPDX-License-Identifier: MIT
// A clock whose readings a test chooses.
#pragma once

#include <ctime>
#include <deque>

namespace l2vpn::test {

/// The next readings of this thread's clocks; the last one stays. If there are none, the clocks are
/// the system's.
inline thread_local std::deque<timespec> clock_readings;

} // namespace l2vpn::test
