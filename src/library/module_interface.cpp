// SPDX-License-Identifier: MIT
#include <cstddef>

#include "l2vpn_db/l2vpn_db.h"

extern "C" {

constinit L2vpnDbModuleIntf g_l2vpnDbModuleIntf{};

L2vpnDbModuleIntf *L2VPN_DB_ModuleIntf(void) {
    return &g_l2vpnDbModuleIntf;
}

void L2VPN_DB_MemIntfReg(const L2vpnDbMemIntf *service) {
    g_l2vpnDbModuleIntf.memory[0] = service->words[0];
    g_l2vpnDbModuleIntf.memory[1] = service->words[1];
}

void L2VPN_DB_LogIntfReg(const L2vpnDbLogIntf *service) {
    g_l2vpnDbModuleIntf.log = service->word;
}

} // extern "C"

static_assert(sizeof(L2vpnDbModuleIntf) == 24 && offsetof(L2vpnDbModuleIntf, log) == 16);
static_assert(sizeof(L2vpnDbMemIntf) == 16 && sizeof(L2vpnDbLogIntf) == 8);
