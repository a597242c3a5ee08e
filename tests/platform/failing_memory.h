// SPDX-License-Identifier: MIT
// Stands in for the run-time library's allocation in the whole process, the platform included.
#pragma once

namespace l2vpn::test {

/// Lets that many more allocations of this thread succeed and all after them fail.
void fail_allocations_after(int successes);
void stop_failing_allocations();

} // namespace l2vpn::test
