// SPDX-License-Identifier: MIT
// The tables of the process, found by descriptor.
#pragma once

#include "platform/store/table.h"

namespace l2vpn::platform {

/// Maps descriptors to tables: open addressing, entries are never removed. An entry also holds the
/// descriptor's name, because the address may be reused for another descriptor. Searches are
/// bounded: descriptors that find no free entry are looked up by name on every call.
struct DescriptorCache {
    struct alignas(32) Entry {
        const L2vpnDbTblIntf *descriptor; ///< null: the entry is free
        const char *name;
        Table *table;

        [[nodiscard]] bool is_of(const L2vpnDbTblIntf *wanted) const {
            return __atomic_load_n(&descriptor, __ATOMIC_ACQUIRE) == wanted &&
                   load(name) == wanted->name;
        }
    };

    static constexpr std::size_t size = 1024; // a power of two
    static constexpr std::size_t max_probes = 8;
    static inline constinit Entry entries[size] = {};

    static std::size_t home(const L2vpnDbTblIntf *descriptor) {
        return reinterpret_cast<std::uintptr_t>(descriptor) / 16 % size;
    }
};

/// A table, or null and the reason.
struct Located {
    Table *table;
    std::uint32_t code;
};

/// The slow path of find_table().
Located find_or_create_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor);

/// Returns the descriptor's table, created on first use; null if the descriptor is null or names no
/// table, or if allocation fails.
inline Located find_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor) {
    const DescriptorCache::Entry &entry =
        DescriptorCache::entries[DescriptorCache::home(descriptor)];
    if (descriptor == nullptr || !entry.is_of(descriptor)) [[unlikely]]
        return find_or_create_table(module, descriptor);
    return {load(entry.table), L2VPN_DB_OK};
}

} // namespace l2vpn::platform
