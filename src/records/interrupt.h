// SPDX-License-Identifier: MIT
// SIGINT, SIGTERM and SIGHUP as exceptions, so that interrupted work is undone.
#pragma once

#include <atomic>

namespace l2vpn::records {

/// Not a std::exception, so that error handlers do not catch it.
struct Interrupted {
    int signal;
};

/// The pending signal, or 0.
extern std::atomic<int> interrupt;

/// Makes check_interrupt() handle SIGINT, SIGTERM and SIGHUP, unless they are ignored.
void catch_interrupts();

/// @throws Interrupted once per signal
inline void check_interrupt() {
    if (interrupt.load(std::memory_order_relaxed) != 0) {
        throw Interrupted{interrupt.exchange(0)};
    }
}

} // namespace l2vpn::records
