// SPDX-License-Identifier: MIT
#include "platform/record_object.h"

#include <algorithm>
#include <cstring>

#include "l2vpn_db/memory_store.h"
#include "platform/base/record_bytes.h"
#include "platform/base/request.h"

namespace l2vpn::platform {

L2vpnDbRecObj *create_object(L2vpnDbModuleIntf * /*module*/, const TableLayout &table) {
    try {
        return new L2vpnDbRecObj{&table, std::string(table.stored_length, '\0')};
    } catch (...) {
        return nullptr;
    }
}

void release_object(L2vpnDbModuleIntf * /*module*/, const TableLayout & /*table*/,
                    L2vpnDbRecObj *object) {
    delete object;
}

void reset_object(L2vpnDbModuleIntf * /*module*/, const TableLayout & /*table*/,
                  L2vpnDbRecObj *object) {
    if (object != nullptr) {
        std::fill(object->bytes.begin(), object->bytes.end(), '\0');
    }
}

std::uint32_t set_all_fields(const TableLayout &table, L2vpnDbRecObj *object,
                             const L2vpnDbRecData *record) {
    if (object == nullptr || object->table != &table) {
        return L2VPN_STORE_BAD_REQUEST;
    }
    if (const std::uint32_t code = check_record(table, record); code != L2VPN_DB_OK) {
        return code;
    }
    std::memcpy(object->bytes.data(), record->data, record->length);
    return L2VPN_DB_OK;
}

std::uint32_t set_batch_version(const TableLayout &table, L2vpnDbRecObj *object,
                                std::uint32_t value) {
    if (object == nullptr || object->table != &table ||
        table.batch_version_offset == TableLayout::no_field) {
        return L2VPN_STORE_BAD_REQUEST;
    }
    std::memcpy(object->bytes.data() + table.batch_version_offset, &value, sizeof value);
    return L2VPN_DB_OK;
}

} // namespace l2vpn::platform
