// SPDX-License-Identifier: MIT
#include "library/control_block.h"

#include "library/spin_lock.h"

namespace l2vpn {

static_assert(sizeof(pthread_mutex_t) <= sizeof L2vpnDbGlbCb::mutex &&
              alignof(pthread_mutex_t) <= 8);

std::uint32_t glb_init(const TableInfo &table) {
    L2vpnDbGlbCb &cb = *table.cb;
    auto *mutex = reinterpret_cast<pthread_mutex_t *>(cb.mutex);
    pthread_mutex_lock(mutex);
    if (cb.spinLockReady == 0) {
        spin_init(cb.spinLock);
        cb.spinLockReady = 1;
    }
    pthread_mutex_unlock(mutex);
    return L2VPN_DB_OK;
}

void stat(std::uint32_t stat_id, std::uint32_t amount, const TableInfo &table) {
    if (stat_id < L2VPN_DB_STAT_COUNT)
        ZAV_AtomicAdd(&table.cb->stat[stat_id], amount);
}

std::uint32_t get_stat(std::uint32_t stat_id, const TableInfo &table) {
    if (stat_id >= L2VPN_DB_STAT_COUNT)
        return 0;
    return __atomic_load_n(&table.cb->stat[stat_id], __ATOMIC_RELAXED);
}

} // namespace l2vpn
