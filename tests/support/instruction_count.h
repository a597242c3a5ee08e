// SPDX-License-Identifier: MIT
// Counts the instructions of a call by single-stepping this thread: no timer, no load of the
// machine affects the result. x86-64 only.
#pragma once

#include <csignal>
#include <cstdint>

namespace l2vpn::test {

#if defined(__x86_64__)

inline volatile std::uint64_t steps = 0;

/// The instructions that a call executes, those of the C library included.
template <class Call>
std::uint64_t instructions_of(Call call) {
    struct sigaction action = {};
    struct sigaction old = {};
    action.sa_handler = [](int) { steps = steps + 1; };
    (void)sigaction(SIGTRAP, &action, &old);
    steps = 0;
    constexpr std::uint64_t trap_flag = 0x100;
    __builtin_ia32_writeeflags_u64(__builtin_ia32_readeflags_u64() | trap_flag);
    call();
    __builtin_ia32_writeeflags_u64(__builtin_ia32_readeflags_u64() & ~trap_flag);
    (void)sigaction(SIGTRAP, &old, nullptr);
    return steps;
}

#endif

} // namespace l2vpn::test
