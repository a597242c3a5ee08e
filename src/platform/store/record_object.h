// SPDX-License-Identifier: MIT
// The record object of the embedded platform: a stored record, its table, and the function that
// releases the memory.
#pragma once

#include "platform/store/record_object_functions.h"
#include "platform/store/services.h"

struct L2vpnDbRecObj {
    const l2vpn::platform::TableLayout *table;
    L2vpnStoreReleaseFn release;

    /// The stored record, after the structure.
    char *bytes() { return reinterpret_cast<char *>(this + 1); }
};
