// SPDX-License-Identifier: MIT
// The record object of this platform: a stored record, the table that it belongs to, and how its
// memory is given back.
#pragma once

#include "platform/store/record_object_functions.h"
#include "platform/store/services.h"

struct L2vpnDbRecObj {
    const l2vpn::platform::TableLayout *table;
    L2vpnStoreReleaseFn release;

    /// The stored record, which follows the structure.
    char *bytes() { return reinterpret_cast<char *>(this + 1); }
};
