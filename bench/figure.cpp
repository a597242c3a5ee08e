// SPDX-License-Identifier: MIT
#include "bench/figure.h"

#include <iostream>

#include <nlohmann/json.hpp>

namespace l2vpn::bench {

namespace {

void print(nlohmann::ordered_json line, std::uint32_t records, const Goal &goal) {
    if (records != 0)
        line["records"] = records;
    if (goal.kind != Goal::Kind::none)
        line[goal.kind == Goal::Kind::at_most ? "at_most" : "at_least"] = goal.value;
    std::cout << line.dump() << std::endl; // flushed: the next one may take long
}

} // namespace

void report(const Figure &figure) {
    const Comparison &comparison = figure.comparison;
    nlohmann::ordered_json line{{"subject", figure.subject},
                                {"reference", figure.reference},
                                {"unit", "ratio"},
                                {"value", comparison.ratio.median},
                                {"lower_quartile", comparison.ratio.lower},
                                {"upper_quartile", comparison.ratio.upper},
                                {"subject_ns", comparison.subject},
                                {"reference_ns", comparison.reference}};
    if (!figure.operation.empty())
        line["operation"] = figure.operation;
    if (!figure.remark.empty())
        line["remark"] = figure.remark;
    print(std::move(line), figure.records, figure.goal);
}

void report(const Quantity &quantity) {
    print({{"subject", quantity.subject}, {"unit", quantity.unit}, {"value", quantity.value}},
          quantity.records, quantity.goal);
}

} // namespace l2vpn::bench
