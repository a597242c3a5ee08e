// SPDX-License-Identifier: MIT
// Reference operations on a few records in the first-level cache: a call of memcpy, an empty call.
#pragma once

#include <array>
#include <cstring>

#include "bench/sample_records.h"
#include "bench/slice.h"

namespace l2vpn::bench {

constexpr std::size_t few = 8;

using FewRecords = std::array<L2vpnVplsPw, few>;
using FewBytes = std::array<std::array<char, sizeof(L2vpnVplsPw)>, few>;

inline FewRecords few_records() {
    FewRecords records{};
    for (std::uint32_t i = 0; i < few; ++i)
        records[i] = pseudowire(i);
    return records;
}

/// Calls the C library; volatile, so that the compiler cannot inline the copy.
inline void *(*volatile copy_bytes)(void *, const void *, std::size_t) = std::memcpy;

[[gnu::noinline]] inline void do_nothing(void *, const void *, std::size_t) {
    __asm__ volatile("");
}
inline void (*volatile empty_call)(void *, const void *, std::size_t) = do_nothing;

/// Copies the bytes of a caller record.
inline Slice memcpy_slice() {
    return repeated([records = few_records(), bytes = FewBytes{}](std::size_t n) mutable {
        copy_bytes(bytes[n % few].data(), &records[n % few], sizeof(L2vpnVplsPw));
    });
}

/// Measures the cost of a call.
inline Slice empty_slice() {
    return repeated([records = few_records(), bytes = FewBytes{}](std::size_t n) mutable {
        empty_call(bytes[n % few].data(), &records[n % few], sizeof(L2vpnVplsPw));
    });
}

} // namespace l2vpn::bench
