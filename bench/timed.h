// SPDX-License-Identifier: MIT
// Nanoseconds per operation, on one thread.
#pragma once

#include <cstddef>
#include <ctime>

#include "bench/worker.h"

namespace l2vpn::bench {

/// Nanoseconds of processor time of this thread: while others have the processor, it stands still.
inline double processor_time() {
    std::timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/// Runs operation(n) for n from `first` to `end`.
template <class Operation>
double timed(std::size_t first, std::size_t end, Operation operation) {
    const double start = processor_time();
    for (std::size_t n = first; n < end; ++n)
        operation(n);
    return (processor_time() - start) / static_cast<double>(end - first);
}

/// A round of an operation that may be repeated at will; n goes on from round to round, for each
/// such round from somewhere else: none shall find in the caches what another one has just used. A
/// few operations come first and do not count.
template <class Operation>
Round repeated(std::size_t operations, Operation operation) {
    static std::size_t rounds = 0;
    constexpr std::size_t apart = 299'993; // a prime, so that all places are different
    return [operations, operation, n = ++rounds * apart]() mutable {
        const std::size_t warm = n + operations / 4;
        timed(n, warm, operation);
        n = warm + operations;
        return timed(warm, n, operation);
    };
}

} // namespace l2vpn::bench
