// SPDX-License-Identifier: MIT
#include "library/update.h"

#include "library/any_key.h"
#include "library/bytes.h"

namespace l2vpn {

std::uint32_t set_fields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                         const std::uint32_t *field_ids, std::uint32_t field_count,
                         const TableInfo &table) {
    const BatchVersionInfo &field = table.batch_version;
    if (field.set == nullptr || record == nullptr || field_count == 0 || field_ids == nullptr)
        return L2VPN_DB_ERR_PARAM;
    if (table.checks_null && record->data == nullptr)
        return L2VPN_DB_ERR_PARAM;
    std::uint32_t result = L2VPN_DB_OK;
    for (std::uint32_t i = 0; i < field_count; ++i) {
        if (find_mapping(field_ids[i], table.update_map) != field.id)
            return L2VPN_DB_ERR_PARAM;
        const auto *const data = static_cast<const char *>(record->data);
        result |= field.set(object, load<std::uint32_t>(data + field.offset));
    }
    return result;
}

std::uint32_t update_fields(const void *record, const std::uint32_t *field_ids,
                            std::uint32_t field_count, const TableInfo &table) {
    if (table.checks_null && record == nullptr)
        return L2VPN_DB_ERR_PARAM;
    const BuiltKey key(record, table.keys[0].build);
    const L2vpnDbRecData caller{const_cast<void *>(record), table.record_size, 0};
    const L2vpnDbUpdData update{field_ids, field_count, 0, table.set_fields};
    return DAL_VELD_Update(L2VPN_DB_ModuleIntf(), table.intf, &key.request, &caller, &update);
}

std::uint32_t update_field(const void *record, std::uint32_t field_id, const TableInfo &table) {
    return update_fields(record, &field_id, 1, table);
}

} // namespace l2vpn
