// SPDX-License-Identifier: MIT
// The first argument of every store call.
#pragma once

#include "l2vpn_db/l2vpn_db.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// What L2VPN_DB_ModuleIntf returns, without the call.
inline L2vpnDbModuleIntf *module_intf() {
    return &g_l2vpnDbModuleIntf;
}

} // namespace l2vpn
