// SPDX-License-Identifier: MIT
// The store's functions: each checks its requests, has the table do the work and reports the event.
#include <deque>

#include "l2vpn_db/memory_store.h"
#include "l2vpn_db/platform.h"
#include "platform/simple/table.h"

namespace l2vpn::platform {

namespace {

/// The whole table, to iterate over or to count: every entry begins with nothing.
constexpr Key whole_table{0, {}};

/// All tables, in the order of the layouts. Never destroyed: other threads and destructors may
/// call until the very end of the process.
std::deque<Table> &tables() {
    static auto &all = *new std::deque<Table>(table_layouts.begin(), table_layouts.end());
    return all;
}

/// Runs one call on the table that the descriptor names. Nothing is thrown to the caller.
template <class Operation>
std::uint32_t perform(const L2vpnDbTblIntf *descriptor, Operation operation) noexcept {
    const TableLayout *layout = find_layout(descriptor);
    if (layout == nullptr) {
        return L2VPN_STORE_UNKNOWN_TABLE;
    }
    Outcome outcome{};
    try {
        outcome = operation(tables()[static_cast<std::size_t>(layout - table_layouts.data())]);
    } catch (...) { // the only thing that can run out
        outcome = refused(L2VPN_STORE_NO_MEMORY);
    }
    if (descriptor->stat != nullptr) {
        descriptor->stat(outcome.event, 1);
    }
    return outcome.code;
}

} // namespace

} // namespace l2vpn::platform

using namespace l2vpn::platform;

std::uint32_t DAL_VELD_Write(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table,
                             const L2vpnDbRecData *record) {
    return perform(table, [&](Table &target) {
        const std::uint32_t code = check_record(target.layout(), record);
        return code == L2VPN_DB_OK ? target.write(*record) : refused(code);
    });
}

std::uint32_t DAL_VELD_Read(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table,
                            const L2vpnDbKeyData *key, L2vpnDbRecData *record) {
    return perform(table, [&](Table &target) {
        Key checked{};
        std::uint32_t code = check_key(target.layout(), key, checked);
        if (code == L2VPN_DB_OK) {
            code = check_record(target.layout(), record);
        }
        return code == L2VPN_DB_OK ? target.read(checked, *record) : refused(code);
    });
}

std::uint32_t DAL_VELD_Update(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key, const L2vpnDbRecData *record,
                              const L2vpnDbUpdData *update) {
    return perform(table, [&](Table &target) {
        Key checked{};
        std::uint32_t code = check_primary_key(target.layout(), key, checked);
        // The caller record and the field ids are the setter's to judge.
        if (record == nullptr || update == nullptr || update->setFields == nullptr ||
            table->createObject == nullptr || table->releaseObject == nullptr ||
            table->setAllFields == nullptr) {
            code = L2VPN_STORE_BAD_REQUEST;
        }
        return code == L2VPN_DB_OK ? target.update(module, *table, checked, *record, *update)
                                   : refused(code);
    });
}

std::uint32_t DAL_VELD_Delete(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key) {
    return perform(table, [&](Table &target) {
        Key checked{};
        const std::uint32_t code = check_primary_key(target.layout(), key, checked);
        return code == L2VPN_DB_OK ? target.remove(checked) : refused(code);
    });
}

L2vpnDbIter *DAL_VELD_CreateIterator(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table) {
    L2vpnDbIter *handle = nullptr;
    perform(table, [&](Table &target) { return target.open(whole_table, handle); });
    return handle;
}

L2vpnDbIter *DAL_VELD_CreateIteratorByKey(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table,
                                          const L2vpnDbKeyData *key) {
    L2vpnDbIter *handle = nullptr;
    perform(table, [&](Table &target) {
        Key checked{};
        const std::uint32_t code = check_key(target.layout(), key, checked);
        return code == L2VPN_DB_OK ? target.open(checked, handle) : refused(code);
    });
    return handle;
}

std::uint32_t DAL_VELD_GetNextEntry(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table,
                                    L2vpnDbIter *iter, L2vpnDbRecData *record) {
    return perform(table, [&](Table &target) {
        const std::uint32_t code = check_record(target.layout(), record);
        return code == L2VPN_DB_OK ? target.next(iter, *record) : refused(code);
    });
}

std::uint32_t DAL_VELD_ReleaseIterator(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table,
                                       L2vpnDbIter *iter) {
    return perform(table, [&](Table &target) { return target.release(iter); });
}

std::uint32_t DAL_VELD_Count(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table,
                             std::uint32_t *count) {
    return perform(table, [&](Table &target) {
        return count != nullptr ? target.count(whole_table, *count)
                                : refused(L2VPN_STORE_BAD_REQUEST);
    });
}

std::uint32_t DAL_VELD_CountByKey(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf *table,
                                  const L2vpnDbKeyData *key, std::uint32_t *count) {
    return perform(table, [&](Table &target) {
        Key checked{};
        std::uint32_t code = check_key(target.layout(), key, checked);
        if (count == nullptr) {
            code = L2VPN_STORE_BAD_REQUEST;
        }
        return code == L2VPN_DB_OK ? target.count(checked, *count) : refused(code);
    });
}
