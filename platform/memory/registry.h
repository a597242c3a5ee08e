// SPDX-License-Identifier: MIT
// The tables of the process, by descriptor.
#pragma once

#include "platform/memory/events.h"
#include "platform/memory/table.h"

namespace l2vpn::platform {

/// What a descriptor stands for.
struct Registered {
    Table *table;
    Events *events;
};

/// The descriptor's table, which its first use creates; null with a code in `code` if the
/// descriptor is null or names no table, or without memory.
Registered find_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor,
                      std::uint32_t &code);

} // namespace l2vpn::platform
