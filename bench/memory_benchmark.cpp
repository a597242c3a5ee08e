// SPDX-License-Identifier: MIT
// Memory per record beyond its bytes, counted by the memory service.
#include <cstdlib>

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

Slices set_up(std::uint32_t size) {
    const L2vpnDbMemIntf service = l2vpn_store_memory_service(allocate, release);
    L2VPN_DB_MemIntfReg(&service);
    fill_table(size);
    return {{"bytes per record", [size] { return static_cast<double>(in_use) / size; }}};
}

} // namespace

void measure_memory(const Scale &scale) {
    for (const std::uint32_t size : scale.sizes) {
        Worker worker([size] { return set_up(size); });
        report({"memory per record beyond its bytes, six keys", "bytes", size,
                worker.run("bytes per record") - stored_length, at_most(160)});
    }
}

} // namespace l2vpn::bench
