// SPDX-License-Identifier: MIT
// Measures the library with its embedded platform. The exit code tells whether the work could be
// done, not whether the goals were met.
#include <exception>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "bench/records.h"
#include "bench/sections.h"

namespace {

using namespace l2vpn::bench;

Rounds set_up(std::uint32_t size) {
    fill_table(size);
    Rounds rounds = read_rounds(size);
    rounds.merge(growth_rounds(size));
    rounds.merge(database_rounds(size));
    return rounds;
}

void run(const Scale &scale, const std::string &json) {
    Report report(!scale.quick);
    measure_memory(scale, report);
    measure_format(scale, report);
    measure_groups(scale, report);
    measure_threads(scale, report);
    Workers workers;
    for (const std::uint32_t size : scale.sizes)
        workers.try_emplace(size, [size] { return set_up(size); });
    measure_reads(scale, workers, report);
    measure_growth(scale, workers, report);
    measure_databases(scale, workers, report);
    if (scale.quick)
        fmt::print("A quick run: nothing is judged.\n");
    if (!json.empty())
        report.write_json(json);
}

} // namespace

int main(int count, char **arguments) {
    try {
        Scale scale{false, {1000, 100'000, 1'000'000}, 100, 100'000};
        std::string json;
        for (int i = 1; i < count; ++i) {
            const std::string_view argument = arguments[i];
            if (argument == "--quick") {
                scale = {true, {1000, 10'000}, 10, 10'000};
            } else if (argument == "--json" && i + 1 < count) {
                json = arguments[++i];
            } else {
                fmt::print(stderr, "usage: l2vpn_bench [--quick] [--json FILE]\n");
                return 2;
            }
        }
        run(scale, json);
        return 0;
    } catch (const std::exception &error) {
        fmt::print(stderr, "l2vpn_bench: {}\n", error.what());
        return 1;
    }
}
