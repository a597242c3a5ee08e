// SPDX-License-Identifier: MIT
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

#include "records/interrupt.h"
#include "tool/command.h"

/// Opens /dev/null for standard streams that the caller has closed, so that no file opened later
/// gets their descriptors. The access mode is the wrong one: input and output still fail.
static void occupy_closed_streams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            (void)open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

int main(int argc, char **argv) {
    occupy_closed_streams();
    l2vpn::records::catch_interrupts();
    try {
        return l2vpn::tool::run_tool({argv + 1, argv + argc});
    } catch (const l2vpn::records::Interrupted &interrupted) {
        // Ends by the signal, so that the parent process sees it in the exit status.
        (void)std::signal(interrupted.signal, SIG_DFL);
        (void)std::raise(interrupted.signal);
    }
}
