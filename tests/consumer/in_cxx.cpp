// SPDX-License-Identifier: MIT
#include <l2vpn_db/l2vpn_vpls_inst.h>

#include <iostream>

int main() {
    L2vpnVplsInst instance{};
    instance.vrIndex = 1;
    std::uint32_t count = 0;
    if (L2VPN_DB_L2vpnVplsInstWrite(&instance) != L2VPN_DB_OK ||
        L2VPN_DB_L2vpnVplsInstCount(&count) != L2VPN_DB_OK)
        return 1;
    std::cout << count << " instance\n";
    return count == 1 ? 0 : 1;
}
