// SPDX-License-Identifier: MIT
// Two operations in turn, slice by slice, so that both find the machine in the same state.
#pragma once

#include <cstddef>
#include <vector>

#include "bench/slice.h"

namespace l2vpn::bench {

/// The middle of some values, and of their halves.
struct Quartiles {
    double lower = 0;
    double median = 0;
    double upper = 0;
};

Quartiles quartiles(std::vector<double> values);

struct Comparison {
    Quartiles ratio;
    double subject = 0; ///< nanoseconds per operation, what is empty taken off
    double reference = 0;
};

/// Subject / reference. What the empty slices take is no part of either; without any, all is.
Comparison compare(const Slice &subject, const Slice &reference, std::size_t slices,
                   const Slice &empty = {}, const Slice &empty_reference = {});

/// The same for several subjects, where the reference cannot be run once more for each.
std::vector<Comparison> compare_each(const std::vector<Slice> &subjects, const Slice &reference,
                                     std::size_t slices, const Slice &empty = {},
                                     const Slice &empty_reference = {});

} // namespace l2vpn::bench
