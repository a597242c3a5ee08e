// SPDX-License-Identifier: MIT
// A pseudowire in the form that the databases store: the stored record and its six packed keys.
#pragma once

#include "bench/sample_records.h"

namespace l2vpn::bench {

struct PackedKey {
    char bytes[12];
    std::uint32_t length;
};

struct PackedRecord {
    char bytes[stored_length];
    PackedKey keys[6]; ///< the primary key first
};

PackedRecord packed(const L2vpnVplsPw &record);

} // namespace l2vpn::bench
