// SPDX-License-Identifier: MIT
// Makes the TableInfo of a table from its facts.
#pragma once

#include <array>

#include "library/control_block.h"
#include "library/key_builder.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T, std::size_t... K>
constexpr auto make_key_info(std::index_sequence<K...>) {
    return std::array{KeyInfo{&T::descriptor().intf, build_key_out_of_line<T, K>}...};
}

template <class T>
inline constexpr auto key_info = make_key_info<T>(std::make_index_sequence<key_count<T>>{});

template <class T>
constexpr TableInfo make_table_info() {
    static_assert(control_block_laid_out<T>());
    TableInfo info{};
    info.intf = &T::descriptor().intf;
    info.keys = key_info<T>.data();
    info.key_map = {T::descriptor().keys, key_count<T>};
    if constexpr (has_batch_version<T>) {
        constexpr Field field = T::fields[batch_version<T>];
        info.update_map = {T::descriptor().updates, 1};
        info.batch_version = {field.offset, field.id, T::set_batch_version};
    }
    info.set_fields = T::set_fields_function;
    info.control_block = &T::control_block();
    info.cb = &T::control_block().cb;
    info.record_size = sizeof(typename T::Record);
    info.row = T::row;
    info.checks_null = !T::no_null_tests;
    return info;
}

template <class T>
inline constexpr TableInfo table_info = make_table_info<T>();

} // namespace l2vpn
