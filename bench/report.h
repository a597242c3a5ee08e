// SPDX-License-Identifier: MIT
// The table of figures, and the same for machines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace l2vpn::bench {

/// What a figure should be.
struct Goal {
    enum class Kind : std::uint8_t { none, at_most, at_least };

    Kind kind = Kind::none;
    double value = 0;
};

constexpr Goal information{};
constexpr Goal at_most(double value) {
    return {Goal::Kind::at_most, value};
}
constexpr Goal at_least(double value) {
    return {Goal::Kind::at_least, value};
}

struct Figure {
    std::string what;
    std::uint32_t size; ///< records in the table
    double value;       ///< a ratio, unless `what` says otherwise
    Goal goal;
    std::vector<double> times{}; ///< nanoseconds per operation that the ratio was taken from
    std::string remark{};
};

class Report {
public:
    /// Without judging, as in runs that are too short for it.
    explicit Report(bool judges) : judges_(judges) {}

    /// Adds a figure and prints its line.
    void add(const Figure &figure);
    /// Throws if the file cannot be written.
    void write_json(const std::string &file) const;

private:
    [[nodiscard]] std::string judgement(const Figure &figure) const;

    bool judges_;
    std::vector<Figure> figures_;
};

} // namespace l2vpn::bench
