// SPDX-License-Identifier: MIT
// Iteration. A full primary key matches one record at most, so that iterating over it needs no
// iterator in the store: the table's control block keeps the key, its address is the handle, and
// the first GetNext is a plain read. There is one such slot per table; while it is taken, the store
// iterates.
#pragma once

#include "frame/control_block.h"
#include "tables/single_record.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

L2vpnDbIter *create_fast_pri_iter(const void *record, const TableAccess &table);

std::uint32_t release_iter(L2vpnDbIter *iter, const TableAccess &table);

/// The in-use flag and the delivered count change in one store; the count is always 0 then.
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
        // Without the lock: the handle has one owner, and nobody else writes this byte meanwhile.
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
