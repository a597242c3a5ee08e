// SPDX-License-Identifier: MIT
// Generic interface: the typed operations after a check of the record length.
#pragma once

#include "library/table_info.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// A table's constant slots of L2vpnDalIntf, up to the first reserved one.
struct InterfaceRow {
    decltype(L2vpnDalIntf::read) read;
    decltype(L2vpnDalIntf::write) write;
    decltype(L2vpnDalIntf::update) update;
    decltype(L2vpnDalIntf::remove) remove;
    decltype(L2vpnDalIntf::createIter) create_iter;
    decltype(L2vpnDalIntf::releaseIter) release_iter;
    decltype(L2vpnDalIntf::getNext) get_next;
    decltype(L2vpnDalIntf::count) count;
    decltype(L2vpnDalIntf::countByKey) count_by_key;
    void (*reserved)();
};
static_assert(sizeof(InterfaceRow) == 80 && sizeof(L2vpnDalIntf) == 104);

/// One row per table with typed access, sorted by table name.
extern const InterfaceRow interface_rows[];

void fill_interface(L2vpnDalIntf &intf, const TableInfo &table);

/// The interface table; initialises the control block on first use.
inline L2vpnDalIntf dal_intf(const TableInfo &table) {
    L2vpnDalIntf intf;
    fill_interface(intf, table);
    return intf;
}

/// Calls the table's typed Read or Write.
template <class Record, class Untyped>
std::uint32_t dal_read_write(Untyped *record, std::uint32_t length,
                             std::uint32_t (*operation)(Record *)) {
    if (length != sizeof(Record))
        return L2VPN_DB_ERR_PARAM;
    return operation(static_cast<Record *>(record));
}

template <class Record>
std::uint32_t dal_get_next(L2vpnDbIter *iter, void *record, std::uint32_t length,
                           std::uint32_t (*get_next)(L2vpnDbIter *, Record *)) {
    if (length != sizeof(Record))
        return L2VPN_DB_ERR_PARAM;
    return get_next(iter, static_cast<Record *>(record));
}

std::uint32_t dal_update(const void *record, std::uint32_t length, const std::uint32_t *field_ids,
                         std::uint32_t field_count, const TableInfo &table);

std::uint32_t dal_remove(const void *record, std::uint32_t length, const TableInfo &table);

/// A null record, which selects the whole table with the primary key, has no length to check.
L2vpnDbIter *dal_create_iter(std::uint32_t key_index, const void *record, std::uint32_t length,
                             const TableInfo &table);

std::uint32_t dal_count_by_key(std::uint32_t key_index, const void *record, std::uint32_t length,
                               std::uint32_t *count, const TableInfo &table);

} // namespace l2vpn
