// SPDX-License-Identifier: MIT
#include "library/generic_interface.h"

#include "library/control_block.h"
#include "library/key_operations.h"
#include "library/update.h"

namespace l2vpn {

void fill_interface(L2vpnDalIntf &intf, const TableInfo &table) {
    glb_init(table);
    const InterfaceRow &row = interface_rows[table.row];
    intf = {row.read,         row.write,
            row.update,       row.remove,
            row.create_iter,  row.release_iter,
            row.get_next,     row.count,
            row.count_by_key, {row.reserved, nullptr, nullptr, nullptr}};
}

std::uint32_t dal_update(const void *record, std::uint32_t length, const std::uint32_t *field_ids,
                         std::uint32_t field_count, const TableInfo &table) {
    if (length != table.record_size)
        return L2VPN_DB_ERR_PARAM;
    return update_fields(record, field_ids, field_count, table);
}

std::uint32_t dal_remove(const void *record, std::uint32_t length, const TableInfo &table) {
    if (length != table.record_size)
        return L2VPN_DB_ERR_PARAM;
    return remove(record, table);
}

L2vpnDbIter *dal_create_iter(std::uint32_t key_index, const void *record, std::uint32_t length,
                             const TableInfo &table) {
    if (record != nullptr && length != table.record_size)
        return nullptr;
    return create_iter(key_index, record, table);
}

std::uint32_t dal_count_by_key(std::uint32_t key_index, const void *record, std::uint32_t length,
                               std::uint32_t *count, const TableInfo &table) {
    if (length != table.record_size)
        return L2VPN_DB_ERR_PARAM;
    return count_by_key(key_index, record, count, table);
}

} // namespace l2vpn
