// SPDX-License-Identifier: MIT
// A program built with another version of a record.
#include <cstdint>
#include <cstdio>

#include "l2vpn_db/l2vpn_bfdlnk.h"

struct L2vpnVplsPw {
    std::uint32_t vrIndex;
};

namespace {

void look(const L2vpnBfdlnk &link, const L2vpnVplsPw &shorter) {
    const char bytes[276] = {1};
    std::printf("%u %u %d\n", link.vrIndex, shorter.vrIndex, bytes[0]);
}

} // namespace

int main() {
    L2vpnBfdlnk link{};
    link.vrIndex = 1;
    link.pwTunnelId = 7001;
    link.bfdStatus = 255;
    look(link, L2vpnVplsPw{1});
    return L2VPN_AST_L2vpnBfdlnkModule() == nullptr ? 1 : 0;
}
