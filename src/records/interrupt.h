// SPDX-License-Identifier: MIT
// Ctrl-C and what asks politely for the same: the work in hand ends, and takes back what it has
// half done.
#pragma once

#include <atomic>

namespace l2vpn::records {

/// Thrown out of interrupted work. It is no std::exception, because it is no failure that anyone
/// reports as one.
struct Interrupted {
    int signal;
};

/// The signal that has come; 0 if none has.
extern std::atomic<int> interrupt;

/// From now on SIGINT, SIGTERM and SIGHUP wait for check_interrupt(), unless they are ignored.
void catch_interrupts();

/// @throws Interrupted, once for a signal
inline void check_interrupt() {
    if (interrupt.load(std::memory_order_relaxed) != 0) {
        throw Interrupted{interrupt.exchange(0)};
    }
}

} // namespace l2vpn::records
