// SPDX-License-Identifier: MIT
// The benchmarks of l2vpn_bench. Each runs in its own processes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bench/figure.h"
#include "bench/worker.h"

namespace l2vpn::bench {

/// Table sizes and repetitions of a run.
struct Scale {
    std::vector<std::uint32_t> sizes; ///< records per table, ascending
    std::size_t slices;               ///< per side of a comparison
    std::uint32_t group;              ///< records with the same key value, in a large group
    std::uint32_t insertions;         ///< while another thread reads
};

void measure_conversion(const Scale &scale);
void measure_format(const Scale &scale);
void measure_memory(const Scale &scale);
void measure_groups(const Scale &scale);
void measure_threads(const Scale &scale);
void measure_latency(const Scale &scale);
void measure_reads(const Scale &scale);
void measure_batches(const Scale &scale);
void measure_growth(const Scale &scale);
void measure_databases(const Scale &scale);

} // namespace l2vpn::bench
