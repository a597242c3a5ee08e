// SPDX-License-Identifier: MIT
// Checks of what comes with a call, before anything is done with it.
#pragma once

#include "l2vpn_db/memory_store.h"
#include "platform/store/key_definition.h"

namespace l2vpn::platform {

/// A key request that fits the table.
struct Key {
    std::size_t index;
    PackedKey value;
};

/// 0, or the code that refuses the record request.
inline std::uint32_t check_record(std::uint32_t stored_length, const L2vpnDbRecData *request) {
    if (request == nullptr || request->data == nullptr)
        return L2VPN_STORE_NULL_POINTER;
    return request->length == stored_length ? L2VPN_DB_OK : L2VPN_STORE_BAD_LENGTH;
}

/// 0 with the key filled, or the code that refuses the key request.
inline std::uint32_t check_key(std::span<const KeyDefinition> keys, const L2vpnDbKeyData *request,
                               Key &key) {
    if (request == nullptr || request->keyId == nullptr || request->key == nullptr)
        return L2VPN_STORE_NULL_POINTER;
    if (request->keyIdLength != L2VPN_DB_KEY_ID_LENGTH)
        return L2VPN_STORE_BAD_KEY_AREA;
    const std::uint32_t id = *request->keyId;
    const std::uint32_t index = id >> 24;
    if (index >= keys.size())
        return L2VPN_STORE_UNKNOWN_KEY;
    if (id != keys[index].id || request->keyLength != keys[index].length) [[unlikely]]
        return (id >> 16) != (keys[index].id >> 16) ? L2VPN_STORE_BAD_KEY_FLAGS
                                                    : L2VPN_STORE_BAD_KEY_LENGTH;
    key = {index, {static_cast<const char *>(request->key)}};
    return L2VPN_DB_OK;
}

/// The same for operations on one record, which take no secondary key.
inline std::uint32_t check_primary_key(std::span<const KeyDefinition> keys,
                                       const L2vpnDbKeyData *request, Key &key) {
    const std::uint32_t code = check_key(keys, request, key);
    return code == L2VPN_DB_OK && key.index != 0 ? L2VPN_STORE_NOT_PRIMARY : code;
}

} // namespace l2vpn::platform
