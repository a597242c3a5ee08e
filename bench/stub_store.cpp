// SPDX-License-Identifier: MIT
// A store that does nothing, to isolate the work of the library and of the platform's other
// functions. Every call succeeds and ignores keys and records.
#include "l2vpn_db/platform.h"
#include "platform/store/record_object_functions.h"

namespace {

/// Target of all handles and object pointers, never read.
char dummy;

} // namespace

std::uint32_t DAL_VELD_Write(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbRecData *) {
    return L2VPN_DB_OK;
}
std::uint32_t DAL_VELD_Read(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbKeyData *,
                            L2vpnDbRecData *) {
    return L2VPN_DB_OK;
}
/// Calls the setter: it belongs to the library's work.
std::uint32_t DAL_VELD_Update(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbKeyData *,
                              const L2vpnDbRecData *record, const L2vpnDbUpdData *update) {
    return update->setFields(record, reinterpret_cast<L2vpnDbRecObj *>(&dummy), update->fieldIds,
                             update->fieldCount);
}
std::uint32_t DAL_VELD_Delete(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbKeyData *) {
    return L2VPN_DB_OK;
}
L2vpnDbIter *DAL_VELD_CreateIterator(L2vpnDbModuleIntf *, L2vpnDbTblIntf *) {
    return reinterpret_cast<L2vpnDbIter *>(&dummy);
}
L2vpnDbIter *DAL_VELD_CreateIteratorByKey(L2vpnDbModuleIntf *, L2vpnDbTblIntf *,
                                          const L2vpnDbKeyData *) {
    return reinterpret_cast<L2vpnDbIter *>(&dummy);
}
std::uint32_t DAL_VELD_GetNextEntry(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, L2vpnDbIter *,
                                    L2vpnDbRecData *) {
    return L2VPN_DB_OK;
}
std::uint32_t DAL_VELD_ReleaseIterator(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, L2vpnDbIter *) {
    return L2VPN_DB_OK;
}
std::uint32_t DAL_VELD_Count(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, std::uint32_t *) {
    return L2VPN_DB_OK;
}
std::uint32_t DAL_VELD_CountByKey(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbKeyData *,
                                  std::uint32_t *) {
    return L2VPN_DB_OK;
}

namespace l2vpn::platform {

L2vpnDbRecObj *create_object(L2vpnDbModuleIntf *, const TableLayout &) {
    return reinterpret_cast<L2vpnDbRecObj *>(&dummy);
}
void release_object(L2vpnDbModuleIntf *, const TableLayout &, L2vpnDbRecObj *) {}
void reset_object(L2vpnDbModuleIntf *, const TableLayout &, L2vpnDbRecObj *) {}
std::uint32_t set_all_fields(const TableLayout &, L2vpnDbRecObj *, const L2vpnDbRecData *) {
    return L2VPN_DB_OK;
}
std::uint32_t set_batch_version(const TableLayout &, L2vpnDbRecObj *, std::uint32_t) {
    return L2VPN_DB_OK;
}

} // namespace l2vpn::platform
