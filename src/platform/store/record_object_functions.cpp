// SPDX-License-Identifier: MIT
#include "platform/store/record_object_functions.h"

#include <cstring>
#include <new>

#include "platform/store/record_object.h"
#include "platform/store/request_checks.h"

namespace l2vpn::platform {

L2vpnDbRecObj *create_object(L2vpnDbModuleIntf *module, const TableLayout &table) {
    const Allocator allocator(module);
    void *const place = allocator.allocate(sizeof(L2vpnDbRecObj) + table.stored_length);
    if (place == nullptr)
        return nullptr;
    auto *const object = new (place)
        L2vpnDbRecObj{&table, allocator.release_function(), L2vpnDbRecObj::Changed::nothing};
    reset_object(module, table, object);
    return object;
}

void release_object(L2vpnDbModuleIntf * /*module*/, const TableLayout & /*table*/,
                    L2vpnDbRecObj *object) {
    if (object != nullptr)
        object->release(object);
}

void reset_object(L2vpnDbModuleIntf * /*module*/, const TableLayout & /*table*/,
                  L2vpnDbRecObj *object) {
    if (object == nullptr)
        return;
    std::memset(object->bytes(), 0, object->table->stored_length);
    object->changed = L2vpnDbRecObj::Changed::everything;
}

std::uint32_t set_all_fields(const TableLayout &table, L2vpnDbRecObj *object,
                             const L2vpnDbRecData *record) {
    if (object == nullptr || object->table != &table)
        return L2VPN_STORE_BAD_OBJECT;
    const std::uint32_t code = check_record(table.stored_length, record);
    if (code != L2VPN_DB_OK)
        return code;
    std::memmove(object->bytes(), record->data, record->length); // may be the object's own record
    object->changed = L2vpnDbRecObj::Changed::everything;
    return code;
}

std::uint32_t set_batch_version(const TableLayout &table, L2vpnDbRecObj *object,
                                std::uint32_t value) {
    if (object == nullptr || object->table != &table)
        return L2VPN_STORE_BAD_OBJECT;
    std::memcpy(object->bytes() + table.batch_version_offset, &value, sizeof value);
    if (object->changed == L2vpnDbRecObj::Changed::nothing)
        object->changed = L2vpnDbRecObj::Changed::batch_version;
    return L2VPN_DB_OK;
}

} // namespace l2vpn::platform
