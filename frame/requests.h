// SPDX-License-Identifier: MIT
// The blocks that travel to the store, on the stack of one call, and the store call's first two
// arguments.
#pragma once

#include "frame/bytes.h"
#include "l2vpn_db/platform.h"
#include "schema/facts.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

static_assert(sizeof(L2vpnDbRecData) == 16 && offsetof(L2vpnDbRecData, length) == 8);
static_assert(sizeof(L2vpnDbKeyData) == 32 && offsetof(L2vpnDbKeyData, keyIdLength) == 8 &&
              offsetof(L2vpnDbKeyData, key) == 16 && offsetof(L2vpnDbKeyData, keyLength) == 24);
static_assert(sizeof(L2vpnDbUpdData) == 24 && offsetof(L2vpnDbUpdData, fieldCount) == 8 &&
              offsetof(L2vpnDbUpdData, setFields) == 16);

/// A stored record and the request that describes it.
template <class T>
struct StoredRecord {
    L2vpnDbRecData request;
    alignas(16) char bytes[stored_size<T>];

    StoredRecord() : request{bytes, stored_size<T>, 0} { clear<stored_size<T>>(bytes); }
};

/// Key k of a table, to be filled by its key builder.
template <class T, std::size_t K>
struct KeyBlocks {
    L2vpnDbKeyData request{};
    std::uint32_t id[L2VPN_DB_KEY_ID_LENGTH / sizeof(std::uint32_t)]{};
    alignas(8) char value[key_length<T>(K)];

    KeyBlocks() { clear<key_length<T>(K)>(value); }
};

} // namespace l2vpn
