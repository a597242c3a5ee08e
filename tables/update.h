// SPDX-License-Identifier: MIT
// Partial update. The store finds the record and calls the setter, which copies the listed fields
// from the caller record into the store's record object; batchVersion is the only such field.
#pragma once

#include "frame/table_descriptor.h"
#include "tables/key_builder.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T>
std::uint32_t set_fields([[maybe_unused]] const L2vpnDbRecData *record,
                         [[maybe_unused]] L2vpnDbRecObj *object,
                         [[maybe_unused]] const std::uint32_t *field_ids,
                         [[maybe_unused]] std::uint32_t field_count) {
    if constexpr (!has_batch_version<T>) {
        return L2VPN_DB_ERR_PARAM;
    } else {
        if (record == nullptr || field_count == 0 || field_ids == nullptr)
            return L2VPN_DB_ERR_PARAM;
        const auto *caller = static_cast<const typename T::Record *>(record->data);
        if constexpr (!T::no_null_tests)
            if (caller == nullptr)
                return L2VPN_DB_ERR_PARAM;
        std::uint32_t result = L2VPN_DB_OK;
        for (std::uint32_t i = 0; i < field_count; ++i) {
            if (map_update_field_id<T>(field_ids[i]) != T::fields[batch_version<T>].id)
                return L2VPN_DB_ERR_PARAM;
            result |= T::set_batch_version(object, caller->batchVersion);
        }
        return result;
    }
}

/// The request carries the caller record itself, not a stored one: only the setter reads it.
template <class T>
std::uint32_t update_fields(const typename T::Record *record, const std::uint32_t *field_ids,
                            std::uint32_t field_count) {
    KeyBlocks<T, 0> key;
    if constexpr (!T::no_null_tests)
        if (record == nullptr)
            return L2VPN_DB_ERR_PARAM;
    set_key<T, 0>(record, key);
    const L2vpnDbRecData caller{const_cast<typename T::Record *>(record), sizeof *record, 0};
    const L2vpnDbUpdData update{field_ids, field_count, 0, T::set_fields_function};
    return DAL_VELD_Update(L2VPN_DB_ModuleIntf(), &T::descriptor().intf, &key.request, &caller,
                           &update);
}

template <class T>
std::uint32_t update_field(const typename T::Record *record, std::uint32_t field_id) {
    return update_fields<T>(record, &field_id, 1);
}

} // namespace l2vpn
