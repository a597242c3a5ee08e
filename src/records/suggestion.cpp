// SPDX-License-Identifier: MIT
#include "records/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string_view>

namespace l2vpn::records {
namespace {

/// Insertions, deletions and replacements that turn one text into the other.
std::size_t edits(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1); // edits from a prefix of `from` to those of `to`
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char character : from) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < to.size(); ++i) {
            const std::size_t replaced = diagonal + (character == to[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({replaced, row[i] + 1, row[i + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

const std::string &nearest(const std::string &name, const std::vector<std::string> &known) {
    return *std::ranges::min_element(
        known, {}, [&](const std::string &candidate) { return edits(name, candidate); });
}

} // namespace l2vpn::records
