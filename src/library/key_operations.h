// SPDX-License-Identifier: MIT
// Operations that copy no record: delete and count, iterators and counts by key.
#pragma once

#include "library/table_info.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

std::uint32_t remove(const void *record, const TableInfo &table);

/// @param result  written by the store, not checked here
std::uint32_t count(std::uint32_t *result, const TableInfo &table);

/// Opens a store iterator.
L2vpnDbIter *create_key_iter(const void *record, const KeyInfo &key);

std::uint32_t count_by(const void *record, std::uint32_t *count, const KeyInfo &key);

/// A null record with the primary key opens an iterator over the whole table; with a secondary key
/// the result is null.
L2vpnDbIter *create_iter(std::uint32_t key_index, const void *record, const TableInfo &table);

/// Unlike create_iter, a null record is an error for every key.
std::uint32_t count_by_key(std::uint32_t key_index, const void *record, std::uint32_t *count,
                           const TableInfo &table);

} // namespace l2vpn
