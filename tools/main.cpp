// SPDX-License-Identifier: MIT
#include "tools/command.h"

int main(int argc, char **argv) {
    return l2vpn::tool::run_tool({argv + 1, argv + argc});
}
