// SPDX-License-Identifier: MIT
#include "records/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

#include <fmt/format.h>

#include "records/value.h"

namespace l2vpn::records {
namespace {

/// Longer names get no suggestion: comparing them takes time.
constexpr std::size_t max_name = 64;

/// Levenshtein distance: insertions, deletions and replacements.
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

std::string unknown(std::string_view what, const std::string &name,
                    const std::vector<std::string> &known) {
    std::string text = fmt::format("unknown {} {}", what, in_quotes(name));
    if (name.size() > max_name) {
        return text;
    }
    const std::string *closest = nullptr;
    std::pair best(2 + name.size() / 3, std::ptrdiff_t{0}); // ties: the longest common prefix
    for (const std::string &candidate : known) {
        const std::ptrdiff_t prefix = std::ranges::mismatch(name, candidate).in1 - name.begin();
        const std::pair cost(edits(name, candidate), -prefix);
        if (cost < best) {
            best = cost;
            closest = &candidate;
        }
    }
    return closest == nullptr ? text : fmt::format("{}; did you mean \"{}\"?", text, *closest);
}

} // namespace l2vpn::records
