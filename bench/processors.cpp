// SPDX-License-Identifier: MIT
#include "bench/processors.h"

#include <stdexcept>

#include <pthread.h>
#include <sched.h>

namespace l2vpn::bench {

namespace {

std::vector<std::size_t> affinity_mask() {
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof set, &set);
    std::vector<std::size_t> result;
    for (std::size_t n = 0; n < CPU_SETSIZE; ++n)
        if (CPU_ISSET(n, &set))
            result.push_back(n);
    return result;
}

} // namespace

const std::vector<std::size_t> &processors() {
    static const std::vector<std::size_t> initial = affinity_mask();
    return initial;
}

void bind_to(std::size_t processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    if (pthread_setaffinity_np(pthread_self(), sizeof set, &set) != 0)
        throw std::runtime_error("cannot bind a thread to a processor");
}

} // namespace l2vpn::bench
