// SPDX-License-Identifier: MIT
// The object that a table exports as its descriptor: the descriptor, directly followed by its
// update-field map and its key map.
#pragma once

#include "library/table_facts.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// One entry of an update-field map or a key map.
struct IdPair {
    std::uint32_t id;
    std::uint32_t value;
};

template <class T, bool Updatable = has_batch_version<T>>
struct TableDescriptor {
    L2vpnDbTblIntf intf;
    IdPair updates[1];
    IdPair keys[key_count<T>];
};

template <class T>
struct TableDescriptor<T, false> {
    L2vpnDbTblIntf intf;
    IdPair keys[key_count<T>];
};

static_assert(sizeof(L2vpnDbTblIntf) == 80 && offsetof(L2vpnDbTblIntf, stat) == 40);

template <class T>
constexpr TableDescriptor<T> make_descriptor(const L2vpnDbTblIntf &intf) {
    TableDescriptor<T> descriptor{};
    descriptor.intf = intf;
    if constexpr (has_batch_version<T>)
        descriptor.updates[0] = {T::fields[batch_version<T>].id, T::fields[batch_version<T>].id};
    for (std::size_t k = 0; k < key_count<T>; ++k)
        descriptor.keys[k] = {static_cast<std::uint32_t>(k), key_code(k)};
    return descriptor;
}

/// The entries of one map.
struct IdMap {
    const IdPair *pairs;
    std::size_t count;
};

/// The value of the first entry with the id; L2VPN_DB_NO_MAPPING if there is none.
std::uint32_t find_mapping(std::uint32_t id, const IdMap &map);

} // namespace l2vpn
