// SPDX-License-Identifier: MIT
// The status of a call: its result code and the event that it counts.
#pragma once

#include "l2vpn_db/memory_store.h"

namespace l2vpn::platform {

struct Status {
    std::uint32_t code;
    std::uint32_t event;
};

constexpr Status ok(std::uint32_t event) {
    return {L2VPN_DB_OK, event};
}
constexpr Status out_of_memory{L2VPN_STORE_NO_MEMORY, L2VPN_STORE_STAT_NO_MEMORY};

} // namespace l2vpn::platform
