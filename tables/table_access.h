// SPDX-License-Identifier: MIT
// A table's facts at run time, for the code that all tables share.
#pragma once

#include <array>

#include "frame/control_block.h"
#include "tables/key_builder.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T, std::size_t... K>
constexpr auto make_key_access(std::index_sequence<K...>) {
    return std::array{KeyAccess{&T::descriptor().intf, set_key<T, K>}...};
}

template <class T>
inline constexpr auto key_access = make_key_access<T>(std::make_index_sequence<key_count<T>>{});

template <class T>
constexpr TableAccess make_access() {
    static_assert(control_block_laid_out<T>());
    TableAccess access{};
    access.intf = &T::descriptor().intf;
    access.keys = key_access<T>.data();
    access.key_map = {T::descriptor().keys, key_count<T>};
    if constexpr (has_batch_version<T>) {
        constexpr Field field = T::fields[batch_version<T>];
        access.update_map = {T::descriptor().updates, 1};
        access.batch_version = {field.offset, field.id, T::set_batch_version};
    }
    access.set_fields = T::set_fields_function;
    access.control_block = &T::control_block();
    access.cb = &T::control_block().cb;
    access.record_size = sizeof(typename T::Record);
    access.row = T::row;
    access.null_tests = !T::no_null_tests;
    return access;
}

template <class T>
inline constexpr TableAccess table_access = make_access<T>();

} // namespace l2vpn
