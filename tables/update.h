// SPDX-License-Identifier: MIT
// Partial update. The store finds the record and calls the setter, which copies the listed fields
// from the caller record into the store's record object; batchVersion is the only such field.
#pragma once

#include "frame/table_access.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

std::uint32_t set_fields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                         const std::uint32_t *field_ids, std::uint32_t field_count,
                         const TableAccess &table);

/// The request carries the caller record itself, not a stored one: only the setter reads it.
std::uint32_t update_fields(const void *record, const std::uint32_t *field_ids,
                            std::uint32_t field_count, const TableAccess &table);

std::uint32_t update_field(const void *record, std::uint32_t field_id, const TableAccess &table);

} // namespace l2vpn
