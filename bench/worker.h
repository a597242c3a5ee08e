// SPDX-License-Identifier: MIT
// What is compared runs in a process of its own, because a process has one table, which never
// shrinks; the process that reports has none, and asks the others for slices.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "bench/slice.h"

namespace l2vpn::bench {

/// By name.
using Slices = std::map<std::string, Slice>;

class Worker {
public:
    /// Starts a process that calls set_up() and then runs the slices that it is asked for.
    explicit Worker(const std::function<Slices()> &set_up);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    /// Throws if the process has failed.
    double run(const std::string &slice);

    /// The same, to be run later.
    Slice operator[](const std::string &slice) {
        return [this, slice] { return run(slice); };
    }

private:
    int questions_;
    int answers_;
    int process_;
};

} // namespace l2vpn::bench
