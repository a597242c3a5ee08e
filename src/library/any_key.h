// SPDX-License-Identifier: MIT
// A built key of any table, on the stack of one call.
#pragma once

#include "facts/longest_key.h"
#include "library/store_requests.h"
#include "library/table_info.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

struct BuiltKey : KeyBuffer<longest_key> {
    BuiltKey(const void *record, BuildKeyFn build) { build(record, &request, id, value); }
};

} // namespace l2vpn
