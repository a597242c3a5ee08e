// SPDX-License-Identifier: MIT
// The copies of a conversion without memcpy_s: contexts by calls of the C library's memcpy, all
// other fields inline.
#pragma once

#include "bench/reference_calls.h"

namespace l2vpn::bench {

/// From the caller's record to the stored record.
[[gnu::noinline]] void libc_to_packed(const char *record, char *stored);
/// From the stored record to the caller's record.
[[gnu::noinline]] void libc_to_caller(const char *stored, char *record);

/// Converts a few records. Throws if a copy in that direction differs from the library's.
Slice libc_to_packed_slice();
Slice libc_to_caller_slice();

/// Calls memcpy_s as a conversion of one record does, and nothing else.
Slice memcpy_s_slice();

} // namespace l2vpn::bench
