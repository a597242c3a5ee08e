// SPDX-License-Identifier: MIT
// What is measured, each on processes of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bench/report.h"
#include "bench/worker.h"

namespace l2vpn::bench {

/// How much of everything.
struct Scale {
    std::vector<std::uint32_t> sizes; ///< of tables, ascending
    std::size_t slices;               ///< of each of two that are compared
    std::uint32_t group;              ///< records with one value of a key, where there are many
};

void measure_conversion(const Scale &scale);
void measure_format(const Scale &scale);
void measure_memory(const Scale &scale);
void measure_groups(const Scale &scale);
void measure_threads(const Scale &scale);
void measure_reads(const Scale &scale);
void measure_growth(const Scale &scale);
void measure_databases(const Scale &scale);

} // namespace l2vpn::bench
