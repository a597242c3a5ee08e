// SPDX-License-Identifier: MIT
// The store's functions: each checks its requests, has the table do the work, and reports.
#include "l2vpn_db/platform.h"
#include "platform/store/reentrancy_guard.h"
#include "platform/store/registry.h"

namespace l2vpn::platform {

namespace {

/// The event that a refused call counts as.
std::uint32_t refusal_event(std::uint32_t code) {
    switch (code) {
    case L2VPN_STORE_BAD_KEY_AREA:
    case L2VPN_STORE_UNKNOWN_KEY:
    case L2VPN_STORE_BAD_KEY_FLAGS:
    case L2VPN_STORE_BAD_KEY_LENGTH:
    case L2VPN_STORE_NOT_PRIMARY:
        return L2VPN_STORE_STAT_BAD_KEY;
    case L2VPN_STORE_NO_MEMORY:
        return L2VPN_STORE_STAT_NO_MEMORY;
    default:
        return L2VPN_STORE_STAT_BAD_REQUEST;
    }
}

Status refused(std::uint32_t code) {
    return {code, refusal_event(code)};
}

const char *explain(std::uint32_t code) {
    switch (code) {
    case L2VPN_STORE_UNKNOWN_TABLE:
        return "the descriptor is null or names no table";
    case L2VPN_STORE_NULL_POINTER:
        return "a pointer that it needs is null";
    case L2VPN_STORE_BAD_LENGTH:
        return "the record's length is not the table's stored length";
    case L2VPN_STORE_BAD_KEY_AREA:
        return "the key identifier area is not 16 bytes long";
    case L2VPN_STORE_UNKNOWN_KEY:
        return "the table has no key with that index";
    case L2VPN_STORE_BAD_KEY_FLAGS:
        return "the key's flags are not 1 for the primary key or 9 for a secondary one";
    case L2VPN_STORE_BAD_KEY_LENGTH:
        return "the key's length is not that of the table's key";
    case L2VPN_STORE_NOT_PRIMARY:
        return "the key is a secondary one where the primary one is needed";
    case L2VPN_STORE_KEY_CHANGED:
        return "the setter has changed the primary key";
    case L2VPN_STORE_BAD_OBJECT:
        return "the record object is null or of another table";
    case L2VPN_STORE_BAD_ITERATOR:
        return "the handle is no open iterator of the table";
    case L2VPN_STORE_NO_MEMORY:
        return "there is not enough memory";
    default:
        return nullptr;
    }
}

/// The log tells what the program did wrong or what ran out, not what became of good calls. A code
/// that a setter has chosen means what the setter says.
void report(const L2vpnDbModuleIntf *module, const char *operation,
            const L2vpnDbTblIntf *descriptor, Status status) {
    const std::uint32_t code = status.code;
    if (status.event == L2VPN_STORE_STAT_UPDATE_REFUSED && code != L2VPN_STORE_KEY_CHANGED)
        return;
    if (const char *const reason = explain(code))
        log(module, "%s %s: refused with 0x%X: %s", operation,
            descriptor != nullptr && descriptor->name != nullptr ? descriptor->name : "?", code,
            reason);
}

/// Runs one call on the table that the descriptor names.
template <class Work>
inline std::uint32_t perform(const char *operation, L2vpnDbModuleIntf *module,
                             const L2vpnDbTblIntf *descriptor, Work work) {
    if (inside_store) [[unlikely]] {
        // Nothing more than this: the log service might call the store, too.
        return L2VPN_STORE_REENTERED;
    }
    std::uint32_t code = L2VPN_DB_OK;
    Table *const table = find_table(module, descriptor, code);
    if (table == nullptr) [[unlikely]] {
        if (code == L2VPN_STORE_NO_MEMORY && descriptor->stat != nullptr)
            descriptor->stat(L2VPN_STORE_STAT_NO_MEMORY, 1);
        report(module, operation, descriptor, refused(code));
        return code;
    }
    const Status status = work(*table);
    table->events().count(descriptor->stat, status.event);
    if (status.code != L2VPN_DB_OK) [[unlikely]]
        report(module, operation, descriptor, status);
    return status.code;
}

} // namespace

} // namespace l2vpn::platform

using namespace l2vpn::platform;

std::uint32_t DAL_VELD_Write(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             const L2vpnDbRecData *record) {
    return perform("write to", module, table, [&](Table &target) {
        const std::uint32_t code = check_record(target.stored_length(), record);
        return code == L2VPN_DB_OK
                   ? target.write(Allocator(module), static_cast<const char *>(record->data))
                   : refused(code);
    });
}

std::uint32_t DAL_VELD_Read(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                            const L2vpnDbKeyData *key, L2vpnDbRecData *record) {
    return perform("read from", module, table, [&](Table &target) {
        Key checked{};
        std::uint32_t code = check_key(target.keys(), key, checked);
        if (code == L2VPN_DB_OK)
            code = check_record(target.stored_length(), record);
        return code == L2VPN_DB_OK ? target.read(checked, record->data) : refused(code);
    });
}

std::uint32_t DAL_VELD_Update(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key, const L2vpnDbRecData *record,
                              const L2vpnDbUpdData *update) {
    return perform("update of", module, table, [&](Table &target) {
        Key checked{};
        std::uint32_t code = check_primary_key(target.keys(), key, checked);
        // The caller record and the field ids are the setter's to judge.
        if (code == L2VPN_DB_OK &&
            (record == nullptr || update == nullptr || update->setFields == nullptr ||
             table->createObject == nullptr || table->releaseObject == nullptr ||
             table->setAllFields == nullptr))
            code = L2VPN_STORE_NULL_POINTER;
        return code == L2VPN_DB_OK ? target.update(module, *table, checked, *record, *update)
                                   : refused(code);
    });
}

std::uint32_t DAL_VELD_Delete(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key) {
    return perform("delete from", module, table, [&](Table &target) {
        Key checked{};
        const std::uint32_t code = check_primary_key(target.keys(), key, checked);
        return code == L2VPN_DB_OK ? target.remove(checked) : refused(code);
    });
}

L2vpnDbIter *DAL_VELD_CreateIterator(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table) {
    L2vpnDbIter *handle = nullptr;
    perform("iterator over", module, table,
            [&](Table &target) { return target.open(Allocator(module), nullptr, handle); });
    return handle;
}

L2vpnDbIter *DAL_VELD_CreateIteratorByKey(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                          const L2vpnDbKeyData *key) {
    L2vpnDbIter *handle = nullptr;
    perform("iterator over a key of", module, table, [&](Table &target) {
        Key checked{};
        const std::uint32_t code = check_key(target.keys(), key, checked);
        return code == L2VPN_DB_OK ? target.open(Allocator(module), &checked, handle)
                                   : refused(code);
    });
    return handle;
}

std::uint32_t DAL_VELD_GetNextEntry(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                    L2vpnDbIter *iter, L2vpnDbRecData *record) {
    return perform("next record of", module, table, [&](Table &target) {
        const std::uint32_t code = check_record(target.stored_length(), record);
        return code == L2VPN_DB_OK ? target.next(iter, record->data) : refused(code);
    });
}

std::uint32_t DAL_VELD_ReleaseIterator(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                       L2vpnDbIter *iter) {
    return perform("release of an iterator over", module, table,
                   [&](Table &target) { return target.release(iter); });
}

std::uint32_t DAL_VELD_Count(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             std::uint32_t *count) {
    return perform("count of", module, table, [&](Table &target) {
        return count != nullptr ? target.count(*count) : refused(L2VPN_STORE_NULL_POINTER);
    });
}

std::uint32_t DAL_VELD_CountByKey(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                  const L2vpnDbKeyData *key, std::uint32_t *count) {
    return perform("count by a key of", module, table, [&](Table &target) {
        Key checked{};
        std::uint32_t code = check_key(target.keys(), key, checked);
        if (code == L2VPN_DB_OK && count == nullptr)
            code = L2VPN_STORE_NULL_POINTER;
        return code == L2VPN_DB_OK ? target.count_by(checked, *count) : refused(code);
    });
}
