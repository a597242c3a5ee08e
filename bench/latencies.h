// SPDX-License-Identifier: MIT
// A histogram of latencies, whose buckets are 3 % wide.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace l2vpn::bench {

class Latencies {
public:
    void add(double nanoseconds) {
        ++counts_[bucket(nanoseconds < 1 ? 1 : static_cast<std::uint64_t>(nanoseconds))];
        ++total_;
    }

    [[nodiscard]] std::uint64_t total() const { return total_; }

    /// The lower bound of the bucket that holds the quantile, in nanoseconds.
    [[nodiscard]] double quantile(double share) const {
        const auto below = static_cast<std::uint64_t>(share * static_cast<double>(total_));
        std::uint64_t seen = 0;
        std::size_t n = 0;
        while ((seen += counts_[n]) <= below && seen < total_)
            ++n;
        return static_cast<double>(lower_bound(n));
    }

private:
    static constexpr unsigned precision = 5; ///< bits after the leading one
    static constexpr std::uint64_t steps = std::uint64_t{1} << precision;

    static constexpr std::size_t bucket(std::uint64_t value) {
        const auto width = static_cast<unsigned>(std::bit_width(value));
        if (width <= precision)
            return value;
        const unsigned shift = width - precision - 1;
        return (shift + 1) * steps + ((value >> shift) - steps);
    }
    static constexpr std::uint64_t lower_bound(std::size_t bucket) {
        if (bucket < steps)
            return bucket;
        const auto shift = bucket / steps - 1;
        return (bucket % steps + steps) << shift;
    }

    std::array<std::uint64_t, (64 - precision + 1) * steps> counts_{};
    std::uint64_t total_ = 0;
};

} // namespace l2vpn::bench
