// SPDX-License-Identifier: MIT
#include "failing_store.h"

#include <dlfcn.h>

#include "l2vpn_db/platform.h"

namespace {

/// The interposed function.
template <class Function>
Function *next(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

std::uint32_t injected(const l2vpn::test::FailingStore::Fault &fault, const L2vpnDbTblIntf *table) {
    return fault ? fault(table->name) : 0;
}

} // namespace

using l2vpn::test::FailingStore;

std::uint32_t DAL_VELD_Write(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             const L2vpnDbRecData *record) {
    static auto *const store = next<decltype(DAL_VELD_Write)>("DAL_VELD_Write");
    const std::uint32_t code = injected(FailingStore::write, table);
    return code != 0 ? code : store(module, table, record);
}

std::uint32_t DAL_VELD_Delete(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key) {
    static auto *const store = next<decltype(DAL_VELD_Delete)>("DAL_VELD_Delete");
    const std::uint32_t code = injected(FailingStore::remove, table);
    return code != 0 ? code : store(module, table, key);
}
