// SPDX-License-Identifier: MIT
// An iterator of the store over one key.
#pragma once

#include "tables/key_builder.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T, std::size_t K>
L2vpnDbIter *create_key_iter(const typename T::Record *record) {
    KeyBlocks<T, K> key;
    if (record == nullptr)
        return nullptr;
    set_key<T, K>(record, key);
    return DAL_VELD_CreateIteratorByKey(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, &key.request);
}

} // namespace l2vpn
