// SPDX-License-Identifier: MIT
// Write, read, delete and count: one store call each.
#pragma once

#include "tables/conversion.h"
#include "tables/key_builder.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T>
std::uint32_t write(const typename T::Record *record) {
    StoredRecord<T> stored;
    if (record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    set_all_fields<T>(record, stored.bytes);
    return DAL_VELD_Write(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, &stored.request);
}

/// Checks neither pointer; after a failure the record is as it was.
template <class T>
std::uint32_t read_by_key(typename T::Record *record, const L2vpnDbKeyData *key) {
    StoredRecord<T> stored;
    const std::uint32_t result =
        DAL_VELD_Read(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, key, &stored.request);
    if (result == L2VPN_DB_OK)
        get_all_fields<T>(stored.bytes, record);
    return result;
}

template <class T>
std::uint32_t read(typename T::Record *record) {
    if (record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    KeyBlocks<T, 0> key;
    set_key<T, 0>(record, key);
    return l2vpn::read_by_key<T>(record, &key.request);
}

template <class T>
std::uint32_t remove(const typename T::Record *record) {
    KeyBlocks<T, 0> key;
    if (record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    set_key<T, 0>(record, key);
    return DAL_VELD_Delete(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, &key.request);
}

/// The store writes the result; the pointer is passed through unchecked.
template <class T>
std::uint32_t count(std::uint32_t *result) {
    return DAL_VELD_Count(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, result);
}

} // namespace l2vpn
