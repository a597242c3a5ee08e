// SPDX-License-Identifier: MIT
// How a call ended: the code for the caller and the event for the table's statistics.
#pragma once

#include <cstdint>

#include "l2vpn_db/l2vpn_db.h"
#include "l2vpn_db/memory_store.h"

namespace l2vpn::platform {

struct Outcome {
    L2vpnStoreStat event;
    std::uint32_t code = L2VPN_DB_OK;
};

/// A call that was refused with one of the store's codes.
constexpr Outcome refused(std::uint32_t code) {
    switch (code) {
    case L2VPN_STORE_BAD_KEY:
        return {L2VPN_STORE_STAT_BAD_KEY, code};
    case L2VPN_STORE_BAD_ITERATOR:
        return {L2VPN_STORE_STAT_BAD_ITERATOR, code};
    case L2VPN_STORE_NO_MEMORY:
        return {L2VPN_STORE_STAT_NO_MEMORY, code};
    default:
        return {L2VPN_STORE_STAT_BAD_REQUEST, code};
    }
}

} // namespace l2vpn::platform
