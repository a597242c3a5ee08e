// SPDX-License-Identifier: MIT
// A slice: some operations in a row, at most a millisecond of them.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>

namespace l2vpn::bench {

/// Runs a slice; nanoseconds per operation.
using Slice = std::function<double()>;

/// Nanoseconds of processor time of this thread: while others have the processor, it stands still.
inline double processor_time() {
    std::timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/// Nanoseconds by the clock, where others do a part of the work.
inline double wall_time() {
    const std::chrono::duration<double, std::nano> now =
        std::chrono::steady_clock::now().time_since_epoch();
    return now.count();
}

/// Runs operation(n) for n from `first` to `end`; nanoseconds each.
template <auto Clock = processor_time, class Operation>
double timed(std::size_t first, std::size_t end, Operation &&operation) {
    const double start = Clock();
    for (std::size_t n = first; n < end; ++n)
        operation(n);
    return (Clock() - start) / static_cast<double>(end - first);
}

/// Slices of an operation that may be repeated at will; n goes on from slice to slice, for each
/// such operation from somewhere else: none shall find in the caches what another one has just
/// used. The first fifth does not count. A slice has as many operations as the one before it
/// suggests.
template <auto Clock = processor_time, class Operation>
Slice repeated(Operation operation) {
    static std::size_t places = 0;
    constexpr std::size_t apart = 299'993; // a prime, so that all places are different
    constexpr double wanted = 600'000;     // nanoseconds
    constexpr int settling = 20; // slices that may each be twice as long as the one before
    auto slice = [operation, n = ++places * apart, operations = std::size_t{1}]() mutable {
        const std::size_t first = n + operations / 4;
        timed<Clock>(n, first, operation);
        n = first + operations;
        const double each = timed<Clock>(first, n, operation);
        operations =
            std::clamp(static_cast<std::size_t>(wanted / each), std::size_t{1}, 2 * operations);
        return each;
    };
    return [slice, settled = false]() mutable {
        for (int i = 0; i < settling && !settled; ++i)
            slice();
        settled = true;
        return slice();
    };
}

} // namespace l2vpn::bench
