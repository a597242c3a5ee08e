// SPDX-License-Identifier: MIT
// The tables of the process, by descriptor.
#pragma once

#include "platform/store/table.h"

namespace l2vpn::platform {

/// A descriptor that has been used before, and its name then: another may have taken its place.
struct alignas(32) Known {
    const L2vpnDbTblIntf *descriptor;
    const char *name;
    Table *table;
};

/// A hash table: a descriptor stands in its place or, if that was taken, behind it.
class DescriptorCache {
public:
    static constexpr std::size_t size = 1024; // a power of two

    static std::size_t place(const L2vpnDbTblIntf *descriptor) {
        return reinterpret_cast<std::uintptr_t>(descriptor) / 16 % size;
    }

    static inline constinit Known at[size] = {};
};

/// What find_table() does for a descriptor that is new or not in its place.
Table *find_or_create_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor,
                            std::uint32_t &code);

/// The descriptor's table, which its first use creates; null with a code in `code` if the
/// descriptor is null or names no table, or without memory.
inline Table *find_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor,
                         std::uint32_t &code) {
    const Known &known = DescriptorCache::at[DescriptorCache::place(descriptor)];
    if (descriptor == nullptr ||
        __atomic_load_n(&known.descriptor, __ATOMIC_ACQUIRE) != descriptor ||
        load(known.name) != descriptor->name) [[unlikely]]
        return find_or_create_table(module, descriptor, code);
    return load(known.table);
}

} // namespace l2vpn::platform
