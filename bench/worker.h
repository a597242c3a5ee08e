// SPDX-License-Identifier: MIT
// Runs slices in a child process. Each subject needs a process of its own, because a process has
// one store, whose tables never shrink; the reporting process has none and requests slices of the
// others.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "bench/slice.h"

namespace l2vpn::bench {

/// Slices by name.
using Slices = std::map<std::string, Slice>;

class Worker {
public:
    /// Starts a process that calls set_up() and then runs slices on request.
    explicit Worker(const std::function<Slices()> &set_up);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    /// Runs a slice; throws if the process has failed.
    double run(const std::string &slice);

    /// A slice that runs in the process when called.
    Slice operator[](const std::string &slice) {
        return [this, slice] { return run(slice); };
    }

private:
    int requests_;
    int results_;
    int process_;
};

} // namespace l2vpn::bench
