// SPDX-License-Identifier: MIT
// SIGINT, SIGTERM and SIGHUP as exceptions, so that interrupted work is undone.
#pragma once

#include <atomic>

namespace l2vpn::records {

/// Not a std::exception, because no handler of errors should catch it.
struct Interrupted {
    int signal;
};

/// The pending signal, or 0.
extern std::atomic<int> interrupt;

/// Leaves SIGINT, SIGTERM and SIGHUP, unless they are ignored, to check_interrupt().
void catch_interrupts();

/// @throws Interrupted once per signal
inline void check_interrupt() {
    if (interrupt.load(std::memory_order_relaxed) != 0) {
        throw Interrupted{interrupt.exchange(0)};
    }
}

} // namespace l2vpn::records
