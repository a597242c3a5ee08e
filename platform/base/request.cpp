// SPDX-License-Identifier: MIT
#include "platform/base/request.h"

#include <algorithm>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::platform {

std::uint32_t check_record(const TableLayout &table, const L2vpnDbRecData *request) {
    if (request == nullptr || request->data == nullptr) {
        return L2VPN_STORE_BAD_REQUEST;
    }
    return request->length == table.stored_length ? L2VPN_DB_OK : L2VPN_STORE_BAD_LENGTH;
}

std::uint32_t check_key(const TableLayout &table, const L2vpnDbKeyData *request, Key &key) {
    if (request == nullptr || request->keyId == nullptr || request->key == nullptr) {
        return L2VPN_STORE_BAD_REQUEST;
    }
    if (request->keyIdLength != L2VPN_DB_KEY_ID_LENGTH) {
        return L2VPN_STORE_BAD_KEY;
    }
    const std::uint32_t word = *request->keyId;
    const std::uint32_t index = word >> 24;
    if (index >= table.keys.size()) {
        return L2VPN_STORE_BAD_KEY;
    }
    const std::uint32_t length = table.keys[index].length;
    const std::uint32_t flags = index == 0 ? 1 : 9;
    if (word != (index << 24 | flags << 16 | length) || request->keyLength != length) {
        return L2VPN_STORE_BAD_KEY;
    }
    key = {index, {static_cast<const char *>(request->key), length}};
    return L2VPN_DB_OK;
}

std::uint32_t check_primary_key(const TableLayout &table, const L2vpnDbKeyData *request, Key &key) {
    const std::uint32_t code = check_key(table, request, key);
    return code == L2VPN_DB_OK && key.index != 0 ? L2VPN_STORE_BAD_KEY : code;
}

const TableLayout *find_layout(const L2vpnDbTblIntf *descriptor) {
    if (descriptor == nullptr || descriptor->name == nullptr) {
        return nullptr;
    }
    const std::string_view name = descriptor->name;
    const auto found = std::lower_bound(
        table_layouts.begin(), table_layouts.end(), name,
        [](const TableLayout &table, std::string_view n) { return table.name < n; });
    return found != table_layouts.end() && found->name == name ? &*found : nullptr;
}

} // namespace l2vpn::platform
