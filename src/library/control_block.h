// SPDX-License-Identifier: MIT
// A table's control block: its layout, its one-time initialisation and its statistics.
#pragma once

#include <span>

#include "library/table_info.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

static_assert(sizeof(L2vpnDbGlbCb) == 176 && alignof(L2vpnDbGlbCb) == 8 &&
              offsetof(L2vpnDbGlbCb, inUse) == 32 && offsetof(L2vpnDbGlbCb, delivered) == 33 &&
              offsetof(L2vpnDbGlbCb, spinLockReady) == 34 &&
              offsetof(L2vpnDbGlbCb, spinLock) == 36 && offsetof(L2vpnDbGlbCb, mutex) == 40 &&
              offsetof(L2vpnDbGlbCb, stat) == 88);

template <class T>
constexpr bool control_block_laid_out() {
    using Block = typename T::ControlBlock;
    constexpr std::size_t key_buffer = (key_length<T>(0) + 7) / 8 * 8;
    return offsetof(Block, key) == L2VPN_DB_KEY_ID_LENGTH && sizeof(Block::key) == key_buffer &&
           offsetof(Block, cb) == 16 + key_buffer && sizeof(Block) == 192 + key_buffer;
}

/// Of all tables with typed access.
extern const std::span<L2vpnDbGlbCb *const> control_blocks;

/// Initialises the spin lock once. A zero-filled mutex is a default mutex.
std::uint32_t glb_init(const TableInfo &table);

void stat(std::uint32_t stat_id, std::uint32_t amount, const TableInfo &table);

/// Relaxed load: the value may be stale.
std::uint32_t get_stat(std::uint32_t stat_id, const TableInfo &table);

} // namespace l2vpn
