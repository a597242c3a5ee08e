// SPDX-License-Identifier: MIT
#include "library/key_operations.h"

#include "library/any_key.h"
#include "library/fast_iterator.h"

namespace l2vpn {

std::uint32_t remove(const void *record, const TableInfo &table) {
    if (record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    const BuiltKey key(record, table.keys[0].build);
    return DAL_VELD_Delete(L2VPN_DB_ModuleIntf(), table.intf, &key.request);
}

std::uint32_t count(std::uint32_t *result, const TableInfo &table) {
    return DAL_VELD_Count(L2VPN_DB_ModuleIntf(), table.intf, result);
}

L2vpnDbIter *create_key_iter(const void *record, const KeyInfo &key) {
    if (record == nullptr)
        return nullptr;
    const BuiltKey built(record, key.build);
    return DAL_VELD_CreateIteratorByKey(L2VPN_DB_ModuleIntf(), key.intf, &built.request);
}

std::uint32_t count_by(const void *record, std::uint32_t *count, const KeyInfo &key) {
    if (record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    const BuiltKey built(record, key.build);
    return DAL_VELD_CountByKey(L2VPN_DB_ModuleIntf(), key.intf, &built.request, count);
}

namespace {

/// The key that the key map gives for the index; null if there is none.
const KeyInfo *find_key(std::uint32_t key_index, const TableInfo &table) {
    const std::uint32_t code = find_mapping(key_index, table.key_map);
    const std::size_t k = key_of_code(code);
    return k < table.key_map.count && code == key_code(k) ? &table.keys[k] : nullptr;
}

} // namespace

L2vpnDbIter *create_iter(std::uint32_t key_index, const void *record, const TableInfo &table) {
    const KeyInfo *key = find_key(key_index, table);
    if (key == nullptr)
        return nullptr;
    if (key != table.keys)
        return create_key_iter(record, *key);
    return record == nullptr ? DAL_VELD_CreateIterator(L2VPN_DB_ModuleIntf(), table.intf)
                             : create_fast_pri_iter(record, table);
}

std::uint32_t count_by_key(std::uint32_t key_index, const void *record, std::uint32_t *count,
                           const TableInfo &table) {
    const KeyInfo *key = find_key(key_index, table);
    return key == nullptr ? L2VPN_DB_ERR_PARAM : count_by(record, count, *key);
}

} // namespace l2vpn
