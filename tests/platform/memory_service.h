// SPDX-License-Identifier: MIT
// A memory service that counts its calls and fails on demand. It fills new memory with garbage.
#pragma once

#include <cstddef>
#include <cstdint>

namespace l2vpn::test {

void register_memory_service();
/// Unregisters the service: the store uses malloc and free again.
void unregister_memory_service();

/// Fails all allocations of this thread after the next `successes`.
void fail_allocations_after(std::uint32_t successes);
/// Fails one allocation of this thread, after the next `successes`.
void fail_one_allocation_after(std::uint32_t successes);
void stop_failing_allocations();

/// Numbers of calls, on all threads.
std::uint32_t allocations();
std::uint32_t releases();
/// Bytes that are allocated and not released.
std::size_t bytes_held();

/// This thread's calls of malloc and related functions outside of the service. Always 0 under
/// sanitizers, which replace malloc.
std::uint32_t direct_allocations();

/// Makes this thread's calls of malloc and related functions fail, or not. Returns false if that is
/// impossible.
bool fail_direct_allocations(bool fail);

/// Sets a function that the service calls inside an allocation; null for none.
using Hook = void (*)();
void set_allocation_hook(Hook hook);

} // namespace l2vpn::test
