// SPDX-License-Identifier: MIT
#include "bench/report.h"

#include <fstream>
#include <iostream>
#include <stdexcept>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace l2vpn::bench {

namespace {

constexpr auto line = "{:<58} {:>9} {:>8} {:>8}  {:<4} {}\n";

} // namespace

std::string Report::judgement(const Figure &figure) const {
    if (!judges_ || figure.goal.kind == Goal::Kind::none)
        return "-";
    const bool most = figure.goal.kind == Goal::Kind::at_most;
    return (most ? figure.value <= figure.goal.value : figure.value >= figure.goal.value) ? "yes"
                                                                                          : "no";
}

void Report::add(const Figure &figure) {
    if (figures_.empty())
        std::cout << fmt::format(line, "what", "records", "figure", "goal", "met",
                                 "ns per operation");
    std::string goal = "-";
    if (figure.goal.kind != Goal::Kind::none)
        goal = fmt::format(
            "{} {:g}", figure.goal.kind == Goal::Kind::at_most ? "<=" : ">=", figure.goal.value);
    std::string more;
    if (!figure.times.empty())
        more = fmt::format("{:.0f}", fmt::join(figure.times, " / "));
    if (!figure.remark.empty())
        more += (more.empty() ? "" : "; ") + figure.remark;
    std::cout << fmt::format(line, figure.what, fmt::group_digits(figure.size),
                             fmt::format("{:.2f}", figure.value), goal, judgement(figure), more)
              << std::flush;
    figures_.push_back(figure);
}

void Report::write_json(const std::string &file) const {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const Figure &figure : figures_) {
        nlohmann::ordered_json one{
            {"what", figure.what}, {"records", figure.size}, {"figure", figure.value}};
        if (figure.goal.kind != Goal::Kind::none)
            one[figure.goal.kind == Goal::Kind::at_most ? "at_most" : "at_least"] =
                figure.goal.value;
        if (const std::string met = judgement(figure); met != "-")
            one["met"] = met == "yes";
        if (!figure.times.empty())
            one["nanoseconds"] = figure.times;
        if (!figure.remark.empty())
            one["remark"] = figure.remark;
        all.push_back(one);
    }
    std::ofstream out(file);
    out << all.dump(1) << '\n';
    if (!out.flush())
        throw std::runtime_error("cannot write " + file);
}

} // namespace l2vpn::bench
