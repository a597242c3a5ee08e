// SPDX-License-Identifier: MIT
// Figures, printed as one line of JSON each for report.py.
#pragma once

#include <cstdint>
#include <string>

#include "bench/compare.h"

namespace l2vpn::bench {

/// Target value of a figure.
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
    std::string subject;
    std::string reference;
    std::uint32_t records; ///< in the table; 0 without one
    Comparison comparison;
    Goal goal = information;
    std::string operation{}; ///< the subject's name in instructions.cpp
    std::string remark{};
};

/// A figure without a reference: one value with a unit.
struct Quantity {
    std::string subject;
    std::string unit;
    std::uint32_t records;
    double value;
    Goal goal;
};

void report(const Figure &figure);
void report(const Quantity &quantity);

} // namespace l2vpn::bench
