// SPDX-License-Identifier: MIT
// A key of whatever table and length, on the stack of one call.
#pragma once

#include "facts/longest_key.h"
#include "frame/requests.h"
#include "frame/table_access.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

struct AnyKey : KeyBlocks<longest_key> {
    AnyKey(const void *record, KeySetter set) { set(record, &request, id, value); }
};

} // namespace l2vpn
