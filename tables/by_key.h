// SPDX-License-Identifier: MIT
// What moves no record: delete and count, iterators and counts over one key, and the two entry
// points that choose the key at run time.
#pragma once

#include "frame/table_access.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

std::uint32_t remove(const void *record, const TableAccess &table);

/// The store writes the result; the pointer is passed through unchecked.
std::uint32_t count(std::uint32_t *result, const TableAccess &table);

/// An iterator of the store.
L2vpnDbIter *create_key_iter(const void *record, const KeyAccess &key);

std::uint32_t count_by(const void *record, std::uint32_t *count, const KeyAccess &key);

/// Without a record the primary key means the whole table; a secondary key means nothing.
L2vpnDbIter *create_iter(std::uint32_t key_index, const void *record, const TableAccess &table);

/// Unlike create_iter, a null record is an error for every key.
std::uint32_t count_by_key(std::uint32_t key_index, const void *record, std::uint32_t *count,
                           const TableAccess &table);

} // namespace l2vpn
