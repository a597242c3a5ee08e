// SPDX-License-Identifier: MIT
// Checks of a call's requests, made before the table is locked.
#pragma once

#include "l2vpn_db/memory_store.h"
#include "platform/store/index.h"

namespace l2vpn::platform {

/// A key request that fits the table.
struct CheckedKey {
    Index *index;
    PackedKey value;

    [[nodiscard, gnu::always_inline]] Probe<PackedKey> probe() const {
        return index->key().probe(value);
    }
};

/// Returns 0, or the error code for an invalid record request.
inline std::uint32_t check_record(std::uint32_t stored_length, const L2vpnDbRecData *request) {
    if (request == nullptr || request->data == nullptr)
        return L2VPN_STORE_NULL_POINTER;
    return request->length == stored_length ? L2VPN_DB_OK : L2VPN_STORE_BAD_LENGTH;
}

/// Returns 0 and sets `key`, or returns the error code for an invalid key request.
inline std::uint32_t check_key(std::span<Index> indexes, const L2vpnDbKeyData *request,
                               CheckedKey &key) {
    if (request == nullptr || request->keyId == nullptr || request->key == nullptr)
        return L2VPN_STORE_NULL_POINTER;
    if (request->keyIdLength != L2VPN_DB_KEY_ID_LENGTH)
        return L2VPN_STORE_BAD_KEY_AREA;
    const std::uint32_t id = *request->keyId;
    if (id >> 24 >= indexes.size())
        return L2VPN_STORE_UNKNOWN_KEY;
    Index &index = indexes[id >> 24];
    const KeyDefinition &definition = index.key();
    if (id != definition.id || request->keyLength != definition.length) [[unlikely]]
        return id >> 16 != definition.id >> 16 ? L2VPN_STORE_BAD_KEY_FLAGS
                                               : L2VPN_STORE_BAD_KEY_LENGTH;
    key = {&index, {static_cast<const char *>(request->key)}};
    return L2VPN_DB_OK;
}

/// The same for operations on one record, which take no secondary key.
inline std::uint32_t check_primary_key(std::span<Index> indexes, const L2vpnDbKeyData *request,
                                       CheckedKey &key) {
    const std::uint32_t code = check_key(indexes, request, key);
    return code == L2VPN_DB_OK && !key.index->is_primary() ? L2VPN_STORE_NOT_PRIMARY : code;
}

} // namespace l2vpn::platform
