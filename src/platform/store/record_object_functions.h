// SPDX-License-Identifier: MIT
// The functions that implement the generated db_* record-object functions. A platform defines them
// once, for all tables, and struct L2vpnDbRecObj.
#pragma once

#include "l2vpn_db/l2vpn_db.h"
#include "platform/store/table_layout.h"

namespace l2vpn::platform {

/// Creates an object with a zero-filled stored record. Returns null if allocation fails.
L2vpnDbRecObj *create_object(L2vpnDbModuleIntf *module, const TableLayout &table);

/// Releases an object. Null is ignored.
void release_object(L2vpnDbModuleIntf *module, const TableLayout &table, L2vpnDbRecObj *object);

/// Fills the object's record with zeros. Null is ignored.
void reset_object(L2vpnDbModuleIntf *module, const TableLayout &table, L2vpnDbRecObj *object);

/// Copies a stored record into the object. Returns 0, or a store code if the object or the record
/// is not of the table.
std::uint32_t set_all_fields(const TableLayout &table, L2vpnDbRecObj *object,
                             const L2vpnDbRecData *record);

/// Sets the object's batchVersion. Returns 0, or a store code if the object is not of the table.
std::uint32_t set_batch_version(const TableLayout &table, L2vpnDbRecObj *object,
                                std::uint32_t value);

} // namespace l2vpn::platform
