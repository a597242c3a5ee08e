// SPDX-License-Identifier: MIT
// What the generated db_* record-object functions call: one behaviour for all tables.
#pragma once

#include "l2vpn_db/l2vpn_db.h"
#include "platform/store/table_layout.h"

namespace l2vpn::platform {

/// Creates an object that holds a zero-filled stored record of the table; null without memory.
L2vpnDbRecObj *create_object(L2vpnDbModuleIntf *module, const TableLayout &table);

/// Releases an object; null is let through.
void release_object(L2vpnDbModuleIntf *module, const TableLayout &table, L2vpnDbRecObj *object);

/// Sets the object's record to zeros; null is let through.
void reset_object(L2vpnDbModuleIntf *module, const TableLayout &table, L2vpnDbRecObj *object);

/// Fills the object from a stored record; 0, or a code of the store if the length is wrong.
std::uint32_t set_all_fields(const TableLayout &table, L2vpnDbRecObj *object,
                             const L2vpnDbRecData *record);

/// Sets the object's batchVersion; 0, or a code of the store if the object is null.
std::uint32_t set_batch_version(const TableLayout &table, L2vpnDbRecObj *object,
                                std::uint32_t value);

} // namespace l2vpn::platform
