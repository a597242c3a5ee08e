// SPDX-License-Identifier: MIT
// A key of whatever table and length, on the stack of one call.
#pragma once

#include "facts/longest_key.h"
#include "frame/requests.h"
#include "frame/table_access.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// Rounded up, so that clearing it takes few moves.
struct AnyKey : KeyBlocks<(longest_key + 15) / 16 * 16> {
    AnyKey(const void *record, KeySetter set) { set(record, &request, id, value); }
};

} // namespace l2vpn
