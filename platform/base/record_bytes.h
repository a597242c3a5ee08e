// SPDX-License-Identifier: MIT
// The record object of this platform: a stored record and the table that it belongs to.
#pragma once

#include <string>

#include "platform/record_object.h"

struct L2vpnDbRecObj {
    const l2vpn::platform::TableLayout *table;
    std::string bytes; ///< always of the table's stored length
};
