// SPDX-License-Identifier: MIT
// The generic interface: the typed operations behind a check of the record's length.
#pragma once

#include "frame/control_block.h"
#include "tables/by_key.h"
#include "tables/update.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// A table's static row: the slots of L2vpnDalIntf up to the first reserved one.
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

/// One row per table with typed access, in alphabetical order.
extern const InterfaceRow interface_rows[];

/// Fetching the interface table is what initialises the control block on first use.
template <class T>
L2vpnDalIntf dal_intf() {
    glb_init<T>();
    const InterfaceRow &row = interface_rows[T::row];
    return {row.read,         row.write,
            row.update,       row.remove,
            row.create_iter,  row.release_iter,
            row.get_next,     row.count,
            row.count_by_key, {row.reserved, nullptr, nullptr, nullptr}};
}

template <class T>
constexpr bool length_matches(std::uint32_t length) {
    return length == sizeof(typename T::Record);
}

template <class T>
std::uint32_t dal_read(void *record, std::uint32_t length) {
    if (!length_matches<T>(length))
        return L2VPN_DB_ERR_PARAM;
    return l2vpn::read<T>(static_cast<typename T::Record *>(record));
}

template <class T>
std::uint32_t dal_write(const void *record, std::uint32_t length) {
    if (!length_matches<T>(length))
        return L2VPN_DB_ERR_PARAM;
    return l2vpn::write<T>(static_cast<const typename T::Record *>(record));
}

template <class T>
std::uint32_t dal_update(const void *record, std::uint32_t length, const std::uint32_t *field_ids,
                         std::uint32_t field_count) {
    if (!length_matches<T>(length))
        return L2VPN_DB_ERR_PARAM;
    return update_fields<T>(static_cast<const typename T::Record *>(record), field_ids,
                            field_count);
}

template <class T>
std::uint32_t dal_remove(const void *record, std::uint32_t length) {
    if (!length_matches<T>(length))
        return L2VPN_DB_ERR_PARAM;
    return l2vpn::remove<T>(static_cast<const typename T::Record *>(record));
}

/// A null record has no length to check: with the primary key it asks for the whole table.
template <class T>
L2vpnDbIter *dal_create_iter(std::uint32_t key_index, const void *record, std::uint32_t length) {
    if (record != nullptr && !length_matches<T>(length))
        return nullptr;
    return create_iter<T>(key_index, static_cast<const typename T::Record *>(record));
}

template <class T>
std::uint32_t dal_get_next(L2vpnDbIter *iter, void *record, std::uint32_t length) {
    if (!length_matches<T>(length))
        return L2VPN_DB_ERR_PARAM;
    return get_next<T>(iter, static_cast<typename T::Record *>(record));
}

template <class T>
std::uint32_t dal_count_by_key(std::uint32_t key_index, const void *record, std::uint32_t length,
                               std::uint32_t *count) {
    if (!length_matches<T>(length))
        return L2VPN_DB_ERR_PARAM;
    return count_by_key<T>(key_index, static_cast<const typename T::Record *>(record), count);
}

} // namespace l2vpn
