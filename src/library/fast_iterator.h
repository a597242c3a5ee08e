// SPDX-License-Identifier: MIT
// Iteration. A full primary key matches at most one record, so the fast iterator needs no iterator
// in the store: the control block holds the key, its address is the handle, and the first GetNext
// is a read. Each table has one such slot; while it is in use, store iterators are used instead.
#pragma once

#include "library/control_block.h"
#include "library/record_operations.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

L2vpnDbIter *create_fast_pri_iter(const void *record, const TableInfo &table);

std::uint32_t release_iter(L2vpnDbIter *iter, const TableInfo &table);

/// Writes the in-use flag and zeroes the delivered count in one 16-bit store.
void set_in_use(L2vpnDbGlbCb &cb, std::uint16_t in_use);

inline bool is_fast(const L2vpnDbIter *iter, const void *control_block) {
    return iter == control_block;
}

template <class T>
[[gnu::always_inline]] inline std::uint32_t get_next(L2vpnDbIter *iter,
                                                     typename T::Record *record) {
    if (iter == nullptr || record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    if (is_fast(iter, &T::control_block())) {
        // No lock: only the owner of the handle writes this byte.
        L2vpnDbGlbCb &cb = T::control_block().cb;
        if (cb.delivered++ != 0)
            return L2VPN_DB_NO_MORE;
        return l2vpn::read_by_key<T>(record, &cb.keyRequest);
    }
    StoredRecord<T> stored;
    clear<stored_size<T>>(stored.bytes);
    const std::uint32_t result = DAL_VELD_GetNextEntry(L2VPN_DB_ModuleIntf(), &T::descriptor().intf,
                                                       iter, stored.described());
    if (result == L2VPN_DB_OK)
        get_all_fields<T>(stored.bytes, record);
    return result;
}

} // namespace l2vpn
