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

/// Fills a table. Each slice returns the bytes per record beyond its own at one size; "worst" the
/// most at any size from `first` on, which is just after the index has grown.
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
    Worker worker([&] { return set_up(scale.sizes, first); });
    const std::string subject = "memory per record beyond its bytes, six keys";
    for (const std::uint32_t size : scale.sizes)
        report({subject, "bytes", size, worker.run(std::to_string(size)),
                at_most(size < first ? 160 : 120)});
    report({"most of it at any size from " + std::to_string(first), "bytes", scale.sizes.back(),
            worker.run("worst"), at_most(120)});
}

} // namespace l2vpn::bench
