// SPDX-License-Identifier: MIT
// A store that does nothing, so that the library's own work is left and what the other services do
// for it. Keys and records are not looked at; every call succeeds.
#include "l2vpn_db/platform.h"
#include "platform/store/record_object_functions.h"

namespace {

/// What a handle or an object points to does not matter, as nobody looks.
char something;

} // namespace

std::uint32_t DAL_VELD_Write(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbRecData *) {
    return L2VPN_DB_OK;
}
std::uint32_t DAL_VELD_Read(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbKeyData *,
                            L2vpnDbRecData *) {
    return L2VPN_DB_OK;
}
/// The setter is the library's own work, too.
std::uint32_t DAL_VELD_Update(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbKeyData *,
                              const L2vpnDbRecData *record, const L2vpnDbUpdData *update) {
    return update->setFields(record, reinterpret_cast<L2vpnDbRecObj *>(&something),
                             update->fieldIds, update->fieldCount);
}
std::uint32_t DAL_VELD_Delete(L2vpnDbModuleIntf *, L2vpnDbTblIntf *, const L2vpnDbKeyData *) {
    return L2VPN_DB_OK;
}
L2vpnDbIter *DAL_VELD_CreateIterator(L2vpnDbModuleIntf *, L2vpnDbTblIntf *) {
    return reinterpret_cast<L2vpnDbIter *>(&something);
}
L2vpnDbIter *DAL_VELD_CreateIteratorByKey(L2vpnDbModuleIntf *, L2vpnDbTblIntf *,
                                          const L2vpnDbKeyData *) {
    return reinterpret_cast<L2vpnDbIter *>(&something);
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
    return reinterpret_cast<L2vpnDbRecObj *>(&something);
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
