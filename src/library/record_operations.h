// SPDX-License-Identifier: MIT
// Write and read: one store call each. Functions with one caller, the exported function, are
// inlined into it.
#pragma once

#include "library/conversion.h"
#include "library/key_builder.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T>
[[gnu::always_inline]] inline std::uint32_t write(const typename T::Record *record) {
    if (record == nullptr) [[unlikely]]
        return L2VPN_DB_ERR_PARAM;
    StoredRecord<T> stored;
    L2vpnDbRecData *const request = stored.described(); // early, to free its register
    clear_copied<T>(stored.bytes);
    set_all_fields<T>(record, stored.bytes);
    return DAL_VELD_Write(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, request);
}

/// Checks neither pointer; leaves the record unchanged on failure.
template <class T>
[[gnu::noinline]] std::uint32_t read_by_key(typename T::Record *record, const L2vpnDbKeyData *key) {
    StoredRecord<T> stored;
    clear<stored_size<T>>(stored.bytes);
    const std::uint32_t result =
        DAL_VELD_Read(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, key, stored.described());
    if (result == L2VPN_DB_OK)
        get_all_fields<T>(stored.bytes, record);
    return result;
}

template <class T>
[[gnu::always_inline]] inline std::uint32_t read(typename T::Record *record) {
    if (record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    KeyBuffer<key_length<T>(0)> key;
    build_key<T, 0>(record, &key.request, key.id, key.value);
    return l2vpn::read_by_key<T>(record, &key.request);
}

} // namespace l2vpn
