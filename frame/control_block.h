// SPDX-License-Identifier: MIT
// A table's control block: its layout, its one-time initialisation and its statistics.
#pragma once

#include "frame/spin_lock.h"
#include "l2vpn_db/platform.h"
#include "schema/facts.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

static_assert(sizeof(L2vpnDbGlbCb) == 176 && alignof(L2vpnDbGlbCb) == 8 &&
              offsetof(L2vpnDbGlbCb, inUse) == 32 && offsetof(L2vpnDbGlbCb, delivered) == 33 &&
              offsetof(L2vpnDbGlbCb, spinLockReady) == 34 &&
              offsetof(L2vpnDbGlbCb, spinLock) == 36 && offsetof(L2vpnDbGlbCb, mutex) == 40 &&
              offsetof(L2vpnDbGlbCb, stat) == 88);
static_assert(sizeof(pthread_mutex_t) <= sizeof L2vpnDbGlbCb::mutex &&
              alignof(pthread_mutex_t) <= 8);

template <class T>
constexpr bool control_block_laid_out() {
    using Block = typename T::ControlBlock;
    constexpr std::size_t key_buffer = (key_length<T>(0) + 7) / 8 * 8;
    return offsetof(Block, key) == L2VPN_DB_KEY_ID_LENGTH && sizeof(Block::key) == key_buffer &&
           offsetof(Block, cb) == 16 + key_buffer && sizeof(Block) == 192 + key_buffer;
}

/// Initialises the spin lock once. The mutex's zero state is the default mutex.
template <class T>
std::uint32_t glb_init() {
    static_assert(control_block_laid_out<T>());
    L2vpnDbGlbCb &cb = T::control_block().cb;
    auto *mutex = reinterpret_cast<pthread_mutex_t *>(cb.mutex);
    pthread_mutex_lock(mutex);
    if (cb.spinLockReady == 0) {
        spin_init(cb.spinLock);
        cb.spinLockReady = 1;
    }
    pthread_mutex_unlock(mutex);
    return L2VPN_DB_OK;
}

template <class T>
void stat(std::uint32_t stat_id, std::uint32_t amount) {
    if (stat_id < L2VPN_DB_STAT_COUNT)
        ZAV_AtomicAdd(&T::control_block().cb.stat[stat_id], amount);
}

/// Without a lock or an ordering: the value may be a moment old.
template <class T>
std::uint32_t get_stat(std::uint32_t stat_id) {
    if (stat_id >= L2VPN_DB_STAT_COUNT)
        return 0;
    return __atomic_load_n(&T::control_block().cb.stat[stat_id], __ATOMIC_RELAXED);
}

} // namespace l2vpn
