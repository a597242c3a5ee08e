// SPDX-License-Identifier: MIT
// A process has one table, and the table never shrinks: each size is measured in a process of its
// own, and the process that reports has none. It asks the others for rounds in turn, so that what
// is compared runs at the same time on a machine that others use, too.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace l2vpn::bench {

/// A short run of one variant: nanoseconds per operation, or whatever else it measures.
using Round = std::function<double()>;
/// By name.
using Rounds = std::map<std::string, Round>;

class Worker {
public:
    /// Starts a process that calls set_up() and then runs the rounds that it is asked for.
    explicit Worker(const std::function<Rounds()> &set_up);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    /// Throws if the process has failed.
    double run(const std::string &round);

private:
    int questions_;
    int answers_;
    int process_;
};

/// A round of a worker.
struct Variant {
    Worker *worker;
    std::string round;
};

/// Runs the variants in turn, `count` times, each time in another order: none shall always follow
/// the one that leaves the caches in the best state. The results of each.
std::vector<std::vector<double>> interleave(const std::vector<Variant> &variants, int count);

double median(std::vector<double> values);

/// The medians of variants that run in turn.
std::vector<double> medians(const std::vector<Variant> &variants, int count);

} // namespace l2vpn::bench
