// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "l2vpn_db/l2vpn_vpls_pw.h"

namespace l2vpn::bench {

/// Does the same as L2VPN_AST_L2vpnVplsPwFormat, through vsnprintf.
std::uint32_t vsnprintf_format(const L2vpnVplsPw &record, char *buffer, std::uint32_t length);

} // namespace l2vpn::bench
