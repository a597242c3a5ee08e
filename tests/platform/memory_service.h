// SPDX-License-Identifier: MIT
// A memory service that counts what it gives and fails on demand. Its memory is full of garbage.
#pragma once

#include <cstddef>
#include <cstdint>

namespace l2vpn::test {

void register_memory_service();
/// The store uses malloc and free again.
void unregister_memory_service();

/// Lets that many more allocations of this thread succeed and all after them fail.
void fail_allocations_after(std::uint32_t successes);
/// Lets that many more allocations of this thread succeed, the one after them fail, and then all
/// succeed again.
void fail_one_allocation_after(std::uint32_t successes);
void stop_failing_allocations();

/// What has been called, on all threads.
std::uint32_t allocations();
std::uint32_t releases();
/// Bytes that have been given and not come back.
std::size_t bytes_held();

/// This thread's calls of malloc and its like that did not come from the service. Sanitizers have
/// a malloc of their own; there this is always 0.
std::uint32_t direct_allocations();

/// Whether this thread's calls of malloc and its like fail; false if they cannot be made to.
bool fail_direct_allocations(bool fail);

/// Called, if not null, by the service while the store waits for its memory.
using Intruder = void (*)();
void set_intruder(Intruder intruder);

} // namespace l2vpn::test
