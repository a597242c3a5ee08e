// SPDX-License-Identifier: MIT
// Partial update. The store finds the record and calls the setter, which copies the listed fields
// from the caller record to the record object. batchVersion is the only updatable field.
#pragma once

#include "library/table_info.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

std::uint32_t set_fields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                         const std::uint32_t *field_ids, std::uint32_t field_count,
                         const TableInfo &table);

/// The record request carries the caller record, not a stored one: only the setter reads it.
std::uint32_t update_fields(const void *record, const std::uint32_t *field_ids,
                            std::uint32_t field_count, const TableInfo &table);

std::uint32_t update_field(const void *record, std::uint32_t field_id, const TableInfo &table);

} // namespace l2vpn
