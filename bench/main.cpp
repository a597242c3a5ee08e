// SPDX-License-Identifier: MIT
// Measures the library with its embedded platform.
//
//   l2vpn_bench [--quick] [BENCHMARK...]
#include <algorithm>
#include <exception>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/benchmarks.h"

namespace {

using namespace l2vpn::bench;

constexpr struct {
    std::string_view name;
    void (*measure)(const Scale &);
} benchmarks[] = {
    {"conversion", measure_conversion}, {"format", measure_format},   {"memory", measure_memory},
    {"groups", measure_groups},         {"threads", measure_threads}, {"latency", measure_latency},
    {"reads", measure_reads},           {"batches", measure_batches}, {"growth", measure_growth},
    {"databases", measure_databases},
};

void run(std::vector<std::string_view> arguments) {
    Scale scale{{1000, 100'000, 1'000'000}, 200, 100'000, 5'000'000};
    if (std::erase(arguments, "--quick") != 0)
        scale = {{1000, 10'000}, 20, 10'000, 50'000};
    for (const std::string_view name : arguments)
        if (std::ranges::find(benchmarks, name, [](const auto &b) { return b.name; }) ==
            std::end(benchmarks))
            throw std::invalid_argument("unknown benchmark \"" + std::string(name) + '"');
    for (const auto &[name, measure] : benchmarks)
        if (arguments.empty() || std::ranges::find(arguments, name) != arguments.end())
            measure(scale);
}

} // namespace

int main(int count, char **arguments) {
    try {
        run({arguments + 1, arguments + count});
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "l2vpn_bench: " << error.what() << '\n';
        return 1;
    }
}
