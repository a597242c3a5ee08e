// SPDX-License-Identifier: MIT
// Measures the library with its embedded platform.
#include <exception>
#include <iostream>
#include <string_view>

#include "bench/benchmarks.h"

int main(int count, char **arguments) {
    using namespace l2vpn::bench;
    try {
        Scale scale{{1000, 100'000, 1'000'000}, 200, 100'000};
        if (count > 1 && std::string_view(arguments[1]) == "--quick")
            scale = {{1000, 10'000}, 20, 10'000};
        measure_conversion(scale);
        measure_format(scale);
        measure_memory(scale);
        measure_groups(scale);
        measure_threads(scale);
        measure_reads(scale);
        measure_growth(scale);
        measure_databases(scale);
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "l2vpn_bench: " << error.what() << '\n';
        return 1;
    }
}
