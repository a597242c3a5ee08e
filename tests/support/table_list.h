// SPDX-License-Identifier: MIT
// All tables through one type, so that a parameterised test runs for each of them. The lists are
// generated from the catalog and hold names and function addresses only. Sizes, offsets and key
// words are left out, because a test would compare the generator with itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "l2vpn_db/l2vpn_db.h"

namespace l2vpn::test {

/// `const Record *` and `Record *` without the record type; any other type as it is.
template <class Record, class T>
using WithoutRecord =
    std::conditional_t<std::is_same_v<T, const Record *>, const void *,
                       std::conditional_t<std::is_same_v<T, Record *>, void *, T>>;

/// Wraps a function with record parameters for untyped pointers. Leaves other functions as they
/// are.
template <class Record, auto function>
struct Untyped;
template <class Record, class Result, class... Arguments, Result (*function)(Arguments...)>
struct Untyped<Record, function> {
    static Result call(WithoutRecord<Record, Arguments>... arguments) {
        return function(static_cast<Arguments>(arguments)...);
    }
    static constexpr auto pointer() {
        if constexpr ((std::is_same_v<WithoutRecord<Record, Arguments>, Arguments> && ...))
            return function;
        else
            return &call;
    }
};
template <class Record, auto function>
constexpr auto untyped = Untyped<Record, function>::pointer();

struct KeyFunctions {
    std::string name;  ///< as in the schema, "smooth_hash_key"
    std::string infix; ///< as in the function names, "SmoothHash"
    L2vpnDbIter *(*create_iter)(const void *record);
    std::uint32_t (*count_by)(const void *record, std::uint32_t *count);
    void (*set)(const void *record, L2vpnDbKeyData *request, std::uint32_t *key_id, void *key);
};

/// The exported functions of a table's generic interface, L2VPN_DAL_...
struct GenericFunctions {
    decltype(L2vpnDalIntf::read) read;
    decltype(L2vpnDalIntf::write) write;
    decltype(L2vpnDalIntf::update) update;
    decltype(L2vpnDalIntf::remove) remove;
    decltype(L2vpnDalIntf::createIter) create_iter;
    decltype(L2vpnDalIntf::getNext) get_next;
    decltype(L2vpnDalIntf::count) count; ///< not in L2vpnDalIntf
    decltype(L2vpnDalIntf::countByKey) count_by_key;
};

/// The exported functions and objects of a table with typed access.
struct TypedTable {
    std::string name;  ///< "l2vpn_vpls_ac"
    std::string camel; ///< "L2vpnVplsAc"
    L2vpnDbTblIntf *descriptor;
    void *control_block;
    std::size_t control_block_size; ///< sizeof the header's structure
    std::size_t record_size;        ///< sizeof the header's structure

    std::uint32_t (*write)(const void *record);
    std::uint32_t (*read)(void *record);
    std::uint32_t (*read_by_key)(void *record, const L2vpnDbKeyData *key);
    std::uint32_t (*remove)(const void *record);
    std::uint32_t (*count)(std::uint32_t *count);
    std::uint32_t (*update_fields)(const void *record, const std::uint32_t *ids,
                                   std::uint32_t count);
    std::uint32_t (*update_field)(const void *record, std::uint32_t id);
    L2vpnDbIter *(*create_iter)(std::uint32_t key_index, const void *record);
    std::uint32_t (*count_by_key)(std::uint32_t key_index, const void *record,
                                  std::uint32_t *count);
    L2vpnDbIter *(*create_fast_pri_iter)(const void *record);
    std::uint32_t (*get_next)(L2vpnDbIter *iter, void *record);
    std::uint32_t (*release_iter)(L2vpnDbIter *iter);
    std::uint32_t (*map_key_id)(std::uint32_t key_index);
    std::uint32_t (*map_update_field_id)(std::uint32_t id);
    L2vpnDbSetFieldsFn set_fields;
    std::uint32_t (*set_all_fields)(const void *record, void *stored);
    std::uint32_t (*get_all_fields)(const void *stored, void *record);
    /// Null unless the service fields are converted separately.
    std::uint32_t (*set_svc_fields)(const void *record, void *stored) = nullptr;
    std::uint32_t (*get_svc_fields)(const void *stored, void *record) = nullptr;
    std::uint32_t (*glb_init)();
    void (*stat)(std::uint32_t stat_id, std::uint32_t amount);
    std::uint32_t (*get_stat)(std::uint32_t stat_id);
    L2vpnDalIntf (*dal_intf)();
    std::vector<KeyFunctions> keys; ///< in key index order, the primary key first
    GenericFunctions dal;
};

/// The functions of any table, with typed access or without.
struct SchemaTable {
    std::string name;
    std::string camel;
    std::size_t record_size; ///< sizeof the header's structure
    L2vpnAstFormatFn format;
    std::uint32_t (*format_table)(const void *record, char *buffer, std::uint32_t buffer_length,
                                  const char *separator);
    L2vpnAstModule *(*module)();
    std::uint32_t schema_version; ///< the header's constant
    std::uint64_t schema_hash;    ///< the header's constant
};

/// In alphabetical order.
extern const std::vector<TypedTable> typed_tables;
extern const std::vector<SchemaTable> schema_tables;

} // namespace l2vpn::test
