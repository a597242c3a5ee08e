// SPDX-License-Identifier: MIT
// Record and key requests to the store, on the stack of one call.
#pragma once

#include "l2vpn_db/platform.h"
#include "library/bytes.h"
#include "library/table_facts.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

static_assert(sizeof(L2vpnDbRecData) == 16 && offsetof(L2vpnDbRecData, length) == 8);
static_assert(sizeof(L2vpnDbKeyData) == 32 && offsetof(L2vpnDbKeyData, keyIdLength) == 8 &&
              offsetof(L2vpnDbKeyData, key) == 16 && offsetof(L2vpnDbKeyData, keyLength) == 24);
static_assert(sizeof(L2vpnDbUpdData) == 24 && offsetof(L2vpnDbUpdData, fieldCount) == 8 &&
              offsetof(L2vpnDbUpdData, setFields) == 16);

/// A stored record, not zeroed, and the request that describes it.
template <class T>
struct StoredRecord {
    alignas(16) char bytes[stored_size<T>];
    L2vpnDbRecData request;

    L2vpnDbRecData *described() {
        request = {bytes, stored_size<T>, 0};
        return &request;
    }
};

/// Zeroed buffers for a key of up to Length bytes.
template <std::size_t Length>
struct KeyBuffer {
    L2vpnDbKeyData request{};
    std::uint32_t id[L2VPN_DB_KEY_ID_LENGTH / sizeof(std::uint32_t)]{};
    alignas(16) char value[Length];

    KeyBuffer() { clear<Length>(value); }
};

} // namespace l2vpn
