// SPDX-License-Identifier: MIT
// Memory per record beyond its bytes, counted by the memory service.
#include <algorithm>
#include <cstdlib>
#include <string>

#include <malloc.h>

#include "bench/benchmarks.h"
#include "bench/sample_records.h"
#include "l2vpn_db/memory_store.h"

namespace l2vpn::bench {

namespace {

std::size_t in_use = 0;

void *allocate(std::size_t size) {
    void *const memory = std::malloc(size);
    in_use += malloc_usable_size(memory);
    return memory;
}

void release(void *memory) {
    in_use -= malloc_usable_size(memory);
    std::free(memory);
}

double bytes_per_record(std::uint32_t records) {
    return static_cast<double>(in_use) / records - stored_length;
}

/// Fills a table. A slice returns the bytes per record beyond its own at one size; "worst" their
/// maximum over all sizes from `first` on, which is reached just after the index has grown.
Slices set_up(const std::vector<std::uint32_t> &sizes, std::uint32_t first) {
    const L2vpnDbMemIntf service = l2vpn_store_memory_service(allocate, release);
    L2VPN_DB_MemIntfReg(&service);
    Slices result;
    double worst = 0;
    for (std::uint32_t i = 0; i < sizes.back();) {
        const L2vpnVplsPw record = pseudowire(i);
        check(L2VPN_DB_L2vpnVplsPwWrite(&record));
        const double bytes = bytes_per_record(++i);
        if (i >= first)
            worst = std::max(worst, bytes);
        if (std::ranges::find(sizes, i) != sizes.end())
            result[std::to_string(i)] = [bytes] { return bytes; };
    }
    result["worst"] = [worst] { return worst; };
    return result;
}

} // namespace

void measure_memory(const Scale &scale) {
    const std::uint32_t first = scale.sizes[1];
    const auto goal = [](std::uint32_t size) { return at_most(size < 100'000 ? 160 : 120); };
    Worker worker([&] { return set_up(scale.sizes, first); });
    for (const std::uint32_t size : scale.sizes)
        report({"memory per record beyond its bytes, six keys", "bytes", size,
                worker.run(std::to_string(size)), goal(size)});
    report({"the maximum from " + std::to_string(first) + " records on", "bytes",
            scale.sizes.back(), worker.run("worst"), goal(first)});
}

} // namespace l2vpn::bench
