// SPDX-License-Identifier: MIT
// Checks of what comes with a call, before anything is done with it.
#pragma once

#include <cstddef>
#include <string_view>

#include "l2vpn_db/l2vpn_db.h"
#include "platform/table_layout.h"

namespace l2vpn::platform {

/// A key request that fits the table.
struct Key {
    std::size_t index;
    std::string_view value;
};

/// 0, or the code that refuses the record request.
std::uint32_t check_record(const TableLayout &table, const L2vpnDbRecData *request);

/// 0 with the key filled, or the code that refuses the key request.
std::uint32_t check_key(const TableLayout &table, const L2vpnDbKeyData *request, Key &key);

/// The same for operations on one record, which take no secondary key.
std::uint32_t check_primary_key(const TableLayout &table, const L2vpnDbKeyData *request, Key &key);

/// The layout that the descriptor names; null if it names none.
const TableLayout *find_layout(const L2vpnDbTblIntf *descriptor);

} // namespace l2vpn::platform
