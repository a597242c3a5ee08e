// SPDX-License-Identifier: MIT
// A slice: consecutive operations that take at most a millisecond.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>

namespace l2vpn::bench {

/// Runs a slice and returns the nanoseconds per operation.
using Slice = std::function<double()>;

/// Nanoseconds of processor time of this thread; excludes time during which it is preempted.
inline double processor_time() {
    std::timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/// Nanoseconds of wall time, for work that is shared with other threads or processes.
inline double wall_time() {
    const std::chrono::duration<double, std::nano> now =
        std::chrono::steady_clock::now().time_since_epoch();
    return now.count();
}

/// Runs operation(n) for n from `first` to `end` and returns the nanoseconds per operation.
template <auto Clock = processor_time, class Operation>
double timed(std::size_t first, std::size_t end, Operation &&operation) {
    const double start = Clock();
    for (std::size_t n = first; n < end; ++n)
        operation(n);
    return (Clock() - start) / static_cast<double>(end - first);
}

/// Slices of a repeatable operation. n increases from slice to slice and starts at a different
/// value for each operation, so that none finds the data of another one in the caches. The first
/// fifth of a slice is warm-up. The length of a slice follows from the duration of the previous
/// one.
template <auto Clock = processor_time, class Operation>
Slice repeated(Operation operation) {
    static std::size_t starts = 0;
    constexpr std::size_t distance = 299'993; // prime, so that no two starts coincide
    constexpr double target = 600'000;        // nanoseconds
    constexpr int settling = 20; // slices, each at most twice as long as the previous one
    auto slice = [operation, n = ++starts * distance, operations = std::size_t{1}]() mutable {
        const std::size_t first = n + operations / 4;
        timed<Clock>(n, first, operation);
        n = first + operations;
        const double each = timed<Clock>(first, n, operation);
        operations =
            std::clamp(static_cast<std::size_t>(target / each), std::size_t{1}, 2 * operations);
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
