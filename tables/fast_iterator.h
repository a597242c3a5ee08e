// SPDX-License-Identifier: MIT
// Iteration. A full primary key matches one record at most, so that iterating over it needs no
// iterator in the store: the table's control block keeps the key, its address is the handle, and
// the first GetNext is a plain read. There is one such slot per table; while it is taken, the store
// iterates.
#pragma once

#include "frame/control_block.h"
#include "tables/key_iterator.h"
#include "tables/single_record.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T>
inline bool is_fast(const L2vpnDbIter *iter) {
    return iter == reinterpret_cast<const L2vpnDbIter *>(&T::control_block());
}

/// The in-use flag and the delivered count change in one store; the count is always 0 then.
inline void set_in_use(L2vpnDbGlbCb &cb, std::uint16_t in_use) {
    static_assert(std::endian::native == std::endian::little, "the flag is the lower byte");
    __builtin_memcpy(reinterpret_cast<char *>(&cb) + offsetof(L2vpnDbGlbCb, inUse), &in_use,
                     sizeof in_use);
}

template <class T>
L2vpnDbIter *create_fast_pri_iter(const typename T::Record *record) {
    if constexpr (!T::no_null_tests)
        if (record == nullptr)
            return nullptr;
    auto &block = T::control_block();
    {
        const SpinGuard guard(block.cb.spinLock);
        if (block.cb.inUse == 0) {
            set_key<T, 0>(record, &block.cb.keyRequest, block.keyId, block.key);
            set_in_use(block.cb, 1);
            return reinterpret_cast<L2vpnDbIter *>(&block);
        }
    }
    return create_key_iter<T, 0>(record);
}

template <class T>
std::uint32_t get_next(L2vpnDbIter *iter, typename T::Record *record) {
    if (iter == nullptr || record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    if (is_fast<T>(iter)) {
        // Without the lock: the handle has one owner, and nobody else writes this byte meanwhile.
        L2vpnDbGlbCb &cb = T::control_block().cb;
        if (cb.delivered++ != 0)
            return L2VPN_DB_NO_MORE;
        return l2vpn::read_by_key<T>(record, &cb.keyRequest);
    }
    StoredRecord<T> stored;
    const std::uint32_t result =
        DAL_VELD_GetNextEntry(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, iter, &stored.request);
    if (result == L2VPN_DB_OK)
        get_all_fields<T>(stored.bytes, record);
    return result;
}

template <class T>
std::uint32_t release_iter(L2vpnDbIter *iter) {
    if (!is_fast<T>(iter))
        return DAL_VELD_ReleaseIterator(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, iter);
    L2vpnDbGlbCb &cb = T::control_block().cb;
    const SpinGuard guard(cb.spinLock);
    set_in_use(cb, 0);
    return L2VPN_DB_OK;
}

} // namespace l2vpn
