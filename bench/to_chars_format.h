// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "l2vpn_db/l2vpn_vpls_pw.h"

namespace l2vpn::bench {

/// Writes the same text as L2VPN_AST_L2vpnVplsPwFormat. The buffer must be large enough.
std::uint32_t to_chars_format(const L2vpnVplsPw &record, char *buffer, std::uint32_t length);

} // namespace l2vpn::bench
