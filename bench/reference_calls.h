// SPDX-License-Identifier: MIT
// Calls of memcpy and of an empty function, and a few records that fit in the first-level cache.
#pragma once

#include <array>
#include <cstring>

#include "bench/sample_records.h"
#include "bench/slice.h"

namespace l2vpn::bench {

constexpr std::size_t few = 8;

// Aligned, so that the copies of both sides cross equally many cache lines.
struct alignas(64) FewRecords : std::array<L2vpnVplsPw, few> {};
struct alignas(64) FewBytes : std::array<std::array<char, sizeof(L2vpnVplsPw)>, few> {};

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

/// Measures the cost of a call.
inline Slice empty_slice() {
    return repeated([records = few_records(), bytes = FewBytes{}](std::size_t n) mutable {
        empty_call(bytes[n % few].data(), &records[n % few], sizeof(L2vpnVplsPw));
    });
}

} // namespace l2vpn::bench
