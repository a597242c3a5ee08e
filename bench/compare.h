// SPDX-License-Identifier: MIT
// Compares two operations by alternating their slices, so that both see the same machine state.
#pragma once

#include <cstddef>
#include <vector>

#include "bench/slice.h"

namespace l2vpn::bench {

struct Quartiles {
    double lower = 0;
    double median = 0;
    double upper = 0;
};

Quartiles quartiles(std::vector<double> values);

struct Comparison {
    Quartiles ratio;
    double subject = 0; ///< nanoseconds per operation, less those of an empty one
    double reference = 0;
};

/// Ratio of subject to reference, after subtracting the empty slices (if any) from both.
Comparison compare(const Slice &subject, const Slice &reference, std::size_t slices,
                   const Slice &empty = {}, const Slice &empty_reference = {});

/// The same for several subjects and one run of the reference, which may not be repeatable.
std::vector<Comparison> compare_each(const std::vector<Slice> &subjects, const Slice &reference,
                                     std::size_t slices, const Slice &empty = {},
                                     const Slice &empty_reference = {});

} // namespace l2vpn::bench
