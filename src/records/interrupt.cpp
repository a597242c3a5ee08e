// SPDX-License-Identifier: MIT
#include "records/interrupt.h"

#include <csignal>

namespace l2vpn::records {

std::atomic<int> interrupt = 0;

void catch_interrupts() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            action.sa_handler = [](int which) { interrupt = which; };
            action.sa_flags = 0; // no SA_RESTART: read() returns EINTR
            (void)sigaction(signal, &action, nullptr);
        }
    }
}

} // namespace l2vpn::records
