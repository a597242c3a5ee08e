// SPDX-License-Identifier: MIT
// Iterators and counts over one key, and the two entry points that choose the key at run time.
#pragma once

#include <utility>

#include "frame/table_descriptor.h"
#include "tables/fast_iterator.h"
#include "tables/key_iterator.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T, std::size_t K>
std::uint32_t count_by(const typename T::Record *record, std::uint32_t *count) {
    KeyBlocks<T, K> key;
    if (record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    set_key<T, K>(record, key);
    return DAL_VELD_CountByKey(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, &key.request, count);
}

/// Calls use(std::integral_constant<std::size_t, K>) for the secondary key with the code, if there
/// is one.
template <class T, class Use>
inline void with_secondary_key(std::uint32_t code, Use use) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        ((code == key_code(I + 1) ? use(std::integral_constant<std::size_t, I + 1>{}) : void()),
         ...);
    }
    (std::make_index_sequence<key_count<T> - 1>{});
}

/// Without a record the primary key means the whole table; a secondary key means nothing.
template <class T>
L2vpnDbIter *create_iter(std::uint32_t key_index, const typename T::Record *record) {
    const std::uint32_t code = map_key_id<T>(key_index);
    if (code == key_code(0))
        return record == nullptr
                   ? DAL_VELD_CreateIterator(L2VPN_DB_ModuleIntf(), &T::descriptor().intf)
                   : create_fast_pri_iter<T>(record);
    L2vpnDbIter *iter = nullptr;
    with_secondary_key<T>(code, [&](auto k) { iter = create_key_iter<T, k>(record); });
    return iter;
}

/// Unlike create_iter, a null record is an error for every key.
template <class T>
std::uint32_t count_by_key(std::uint32_t key_index, const typename T::Record *record,
                           std::uint32_t *count) {
    const std::uint32_t code = map_key_id<T>(key_index);
    if (code == key_code(0))
        return count_by<T, 0>(record, count);
    std::uint32_t result = L2VPN_DB_ERR_PARAM;
    with_secondary_key<T>(code, [&](auto k) { result = count_by<T, k>(record, count); });
    return result;
}

} // namespace l2vpn
