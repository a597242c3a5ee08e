// SPDX-License-Identifier: MIT
// Every table's functions with untyped pointers. The list is generated from the catalog and holds
// addresses only; all else is read from the schema descriptors.
#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

#include "l2vpn_db/l2vpn_db.h"

namespace l2vpn::records {

/// How a field's value is shown and read; generator/field_types.py lists which type has which.
enum class Display : std::uint8_t {
    number, ///< an unsigned number of 1, 2, 4 or 8 bytes
    ipv4,   ///< an IPv4 address in a number of 4 bytes
    ipv6,   ///< an IPv6 address in 16 bytes
    mac,    ///< a MAC address
    pair,   ///< two elements of one byte each
    array,  ///< two elements of opaque bytes
    bytes,  ///< opaque bytes
};

/// The functions of one table; all but the first are null where it has no typed access.
struct TableFunctions {
    L2vpnAstModule *(*module)();
    std::vector<Display> displays; ///< of the fields, in record order
    L2vpnDalIntf (*access)() = nullptr;
    std::uint32_t (*get_stat)(std::uint32_t stat_id) = nullptr;
    std::uint32_t (*pack)(const void *record, void *stored) = nullptr;
    std::uint32_t (*unpack)(const void *stored, void *record) = nullptr;
    /// Key builders in key index order: record, L2vpnDbKeyData, key identifier area, key.
    std::vector<void (*)(const void *, void *, void *, void *)> set_key = {};
};

/// In alphabetical order of the tables.
extern const std::vector<TableFunctions> table_functions;

template <class T>
struct Untype;

/// A function with all its pointers untyped.
template <class Result, class... Arguments>
struct Untype<Result (*)(Arguments...)> {
    template <class T>
    using Pointer =
        std::conditional_t<std::is_const_v<std::remove_pointer_t<T>>, const void *, void *>;

    template <Result (*function)(Arguments...)>
    static Result call(Pointer<Arguments>... arguments) {
        return function(static_cast<Arguments>(arguments)...);
    }
};

template <auto function>
constexpr auto untyped = &Untype<decltype(function)>::template call<function>;

} // namespace l2vpn::records
