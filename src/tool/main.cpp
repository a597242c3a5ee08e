// SPDX-License-Identifier: MIT
#include <csignal>

#include "records/interrupt.h"
#include "tool/command.h"

int main(int argc, char **argv) {
    l2vpn::records::catch_interrupts();
    try {
        return l2vpn::tool::run_tool({argv + 1, argv + argc});
    } catch (const l2vpn::records::Interrupted &interrupted) {
        // The way that tells whoever waits for this process what has ended it.
        (void)std::signal(interrupted.signal, SIG_DFL);
        (void)std::raise(interrupted.signal);
    }
}
