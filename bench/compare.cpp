// SPDX-License-Identifier: MIT
#include "bench/compare.h"

#include <algorithm>

namespace l2vpn::bench {

Quartiles quartiles(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const auto at = [&](std::size_t quarter) { return values[(values.size() - 1) * quarter / 4]; };
    return {at(1), at(2), at(3)};
}

Comparison compare(const Slice &subject, const Slice &reference, std::size_t slices,
                   const Slice &empty, const Slice &empty_reference) {
    const auto run = [](const Slice &slice) { return slice ? slice() : 0; };
    std::vector<double> subjects;
    std::vector<double> references;
    std::vector<double> ratios;
    for (std::size_t n = 0; n < slices; ++n) {
        const double nothing = run(empty);
        subjects.push_back(subject() - nothing);
        references.push_back(reference() - (empty_reference ? empty_reference() : nothing));
        ratios.push_back(subjects.back() / references.back());
    }
    return {quartiles(ratios), quartiles(subjects).median, quartiles(references).median};
}

} // namespace l2vpn::bench
