// SPDX-License-Identifier: MIT
// The library's overhead beyond the store call, measured over a store that does nothing.
#include <exception>
#include <iostream>
#include <string_view>

#include "bench/figure.h"
#include "bench/libc_conversion.h"
#include "bench/reference_calls.h"
#include "l2vpn_db/platform.h"

namespace {

using namespace l2vpn::bench;

auto *volatile typed_write = L2VPN_DB_L2vpnVplsPwWrite;
auto *volatile typed_read = L2VPN_DB_L2vpnVplsPwRead;
auto *volatile store_write = DAL_VELD_Write;

void measure(std::size_t slices) {
    const Slice write =
        repeated([records = few_records()](std::size_t n) { typed_write(&records[n % few]); });
    const Slice read = repeated(
        [records = few_records()](std::size_t n) mutable { typed_read(&records[n % few]); });
    const Slice store_call = repeated([bytes = FewBytes{}](std::size_t n) mutable {
        const L2vpnDbRecData record{bytes[n % few].data(), stored_length, 0};
        store_write(&g_l2vpnDbModuleIntf, &g_l2vpnL2vpnVplsPwIntf, &record);
    });
    const char *const reference = "a conversion's copies by memcpy";
    report({"write, less the store call", reference, 0,
            compare(write, libc_to_packed_slice(), slices, store_call, empty_slice()), at_most(1.3),
            "write, same keys"});
    report({"read, stub store", reference, 0,
            compare(read, libc_to_caller_slice(), slices, empty_slice()), at_most(1.8), "read"});
}

} // namespace

int main(int count, char **arguments) {
    try {
        measure(count > 1 && std::string_view(arguments[1]) == "--quick" ? 20 : 200);
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "l2vpn_bench_stub: " << error.what() << '\n';
        return 1;
    }
}
