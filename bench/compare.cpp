// SPDX-License-Identifier: MIT
#include "bench/compare.h"

#include <algorithm>

namespace l2vpn::bench {

Quartiles quartiles(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const auto at = [&](std::size_t quarter) { return values[(values.size() - 1) * quarter / 4]; };
    return {at(1), at(2), at(3)};
}

namespace {

double run(const Slice &slice) {
    return slice ? slice() : 0;
}

/// Compares nanoseconds per operation slice by slice.
Comparison compared(const std::vector<double> &subjects, const std::vector<double> &references) {
    std::vector<double> ratios;
    for (std::size_t n = 0; n < subjects.size(); ++n)
        ratios.push_back(subjects[n] / references[n]);
    return {quartiles(ratios), quartiles(subjects).median, quartiles(references).median};
}

} // namespace

std::vector<Comparison> compare_each(const std::vector<Slice> &subjects, const Slice &reference,
                                     std::size_t slices, const Slice &empty,
                                     const Slice &empty_reference) {
    std::vector<double> references;
    std::vector<std::vector<double>> times(subjects.size());
    for (std::size_t n = 0; n < slices; ++n) {
        const double overhead = run(empty);
        references.push_back(reference() - (empty_reference ? empty_reference() : overhead));
        for (std::size_t s = 0; s < subjects.size(); ++s)
            times[s].push_back(subjects[s]() - overhead);
    }
    std::vector<Comparison> result;
    result.reserve(times.size());
    for (const std::vector<double> &subject : times)
        result.push_back(compared(subject, references));
    return result;
}

Comparison compare(const Slice &subject, const Slice &reference, std::size_t slices,
                   const Slice &empty, const Slice &empty_reference) {
    return compare_each({subject}, reference, slices, empty, empty_reference).front();
}

} // namespace l2vpn::bench
