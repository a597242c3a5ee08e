// SPDX-License-Identifier: MIT
// What is measured. The ..._rounds run in a worker whose table holds pseudowires 0 to `size`; the
// measure_... functions ask for them.
#pragma once

#include <cstdint>
#include <map>

#include "bench/report.h"
#include "bench/worker.h"

namespace l2vpn::bench {

/// How much of everything.
struct Scale {
    bool quick;
    std::vector<std::uint32_t> sizes; ///< of tables, ascending
    int rounds;
    std::uint32_t group; ///< records with one value of a key, where there are many
};

/// One worker per size.
using Workers = std::map<std::uint32_t, Worker>;

Rounds read_rounds(std::uint32_t size);
void measure_reads(const Scale &scale, Workers &workers, Report &report);

Rounds growth_rounds(std::uint32_t size);
void measure_growth(const Scale &scale, Workers &workers, Report &report);

/// Its insertions make the table grow, and so come last.
Rounds database_rounds(std::uint32_t size);
void measure_databases(const Scale &scale, Workers &workers, Report &report);

// These have tables of their own.
void measure_memory(const Scale &scale, Report &report);
void measure_groups(const Scale &scale, Report &report);
void measure_threads(const Scale &scale, Report &report);
void measure_format(const Scale &scale, Report &report);

} // namespace l2vpn::bench
