// SPDX-License-Identifier: MIT
#include "library/fast_iterator.h"

#include "library/key_operations.h"
#include "library/spin_lock.h"

namespace l2vpn {

void set_in_use(L2vpnDbGlbCb &cb, std::uint16_t in_use) {
    static_assert(std::endian::native == std::endian::little, "the flag is the lower byte");
    __builtin_memcpy(reinterpret_cast<char *>(&cb) + offsetof(L2vpnDbGlbCb, inUse), &in_use,
                     sizeof in_use);
}

L2vpnDbIter *create_fast_pri_iter(const void *record, const TableInfo &table) {
    if (table.checks_null && record == nullptr)
        return nullptr;
    L2vpnDbGlbCb &cb = *table.cb;
    {
        const SpinGuard guard(cb.spinLock);
        if (cb.inUse == 0) {
            auto *key_id = static_cast<std::uint32_t *>(table.control_block);
            table.keys[0].build(record, &cb.keyRequest, key_id,
                                key_id + L2VPN_DB_KEY_ID_LENGTH / sizeof *key_id);
            set_in_use(cb, 1);
            return static_cast<L2vpnDbIter *>(table.control_block);
        }
    }
    return create_key_iter(record, table.keys[0]);
}

std::uint32_t release_iter(L2vpnDbIter *iter, const TableInfo &table) {
    if (!is_fast(iter, table.control_block))
        return DAL_VELD_ReleaseIterator(L2VPN_DB_ModuleIntf(), table.intf, iter);
    const SpinGuard guard(table.cb->spinLock);
    set_in_use(*table.cb, 0);
    return L2VPN_DB_OK;
}

} // namespace l2vpn
