// SPDX-License-Identifier: MIT
// Run-time description of a table. Operations that differ between tables only in numbers are one
// function over a TableInfo; operations that copy whole records are templates, instantiated per
// table, so that the copies are straight-line code.
#pragma once

#include "l2vpn_db/platform.h"
#include "library/table_descriptor.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// Builds one key of a caller record.
/// @param key_id  first word of a zeroed identifier area
using BuildKeyFn = void (*)(const void *record, L2vpnDbKeyData *request, std::uint32_t *key_id,
                            void *key);

struct KeyInfo {
    L2vpnDbTblIntf *intf;
    BuildKeyFn build;
};

struct BatchVersionInfo {
    std::size_t offset; ///< in the caller record
    std::uint32_t id;
    std::uint32_t (*set)(L2vpnDbRecObj *object, std::uint32_t value); ///< null without the field
};

struct TableInfo {
    L2vpnDbTblIntf *intf;
    const KeyInfo *keys; ///< the primary key first
    IdMap key_map;
    IdMap update_map;
    BatchVersionInfo batch_version;
    L2vpnDbSetFieldsFn set_fields;
    void *control_block; ///< identifier area, key buffer and `cb`
    L2vpnDbGlbCb *cb;
    std::uint32_t record_size; ///< of the caller record, in bytes
    std::uint16_t row;         ///< in interface_rows
    bool checks_null;          ///< false: fast iterator, update and setter skip their null checks
};

} // namespace l2vpn
