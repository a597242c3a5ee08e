// SPDX-License-Identifier: MIT
// What the code that all tables share knows of a table. Operations whose work is the same for every
// table but for some numbers are one function each, over a TableAccess; what moves whole records is
// a template, instantiated for each table, so that it runs straight through.
#pragma once

#include "frame/table_descriptor.h"
#include "l2vpn_db/platform.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// Builds one key of a record of one table; `key_id` is the first word of a zeroed identifier area.
using KeySetter = void (*)(const void *record, L2vpnDbKeyData *request, std::uint32_t *key_id,
                           void *key);

struct KeyAccess {
    L2vpnDbTblIntf *intf;
    KeySetter set;
};

struct BatchVersionAccess {
    std::size_t offset; ///< in the caller record
    std::uint32_t id;
    std::uint32_t (*set)(L2vpnDbRecObj *object, std::uint32_t value); ///< null without the field
};

struct TableAccess {
    L2vpnDbTblIntf *intf;
    const KeyAccess *keys; ///< the primary key first
    IdMap key_map;
    IdMap update_map;
    BatchVersionAccess batch_version;
    L2vpnDbSetFieldsFn set_fields;
    void *control_block; ///< identifier area, key buffer and `cb`
    L2vpnDbGlbCb *cb;
    std::uint32_t record_size; ///< of the caller record
    std::uint16_t row;         ///< its place among the tables with typed access
    bool null_tests;           ///< else three of them are missing (fast iterator, update, setter)
};

} // namespace l2vpn
