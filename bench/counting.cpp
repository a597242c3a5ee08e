// SPDX-License-Identifier: MIT
#include "bench/counting.h"

#include <cstdio>

#include <dlfcn.h>

#include "l2vpn_db/platform.h"

namespace l2vpn::bench {

namespace {

/// Load address of the object file that contains the function.
template <class Function>
void *base(Function *function) {
    Dl_info info{};
    dladdr(reinterpret_cast<void *>(function), &info);
    return info.dli_fbase;
}

} // namespace

// The empty asm keeps the compiler from removing the calls.
extern "C" {
[[gnu::noinline]] void begin_counting() {
    __asm__ volatile("");
}
[[gnu::noinline]] void end_counting() {
    __asm__ volatile("");
}
}

void print_addresses() {
    std::printf("%p %p %p %p\n", base(L2VPN_DB_ModuleIntf), base(DAL_VELD_Read),
                reinterpret_cast<void *>(begin_counting), reinterpret_cast<void *>(end_counting));
}

void print_counted(const std::string &name, std::uint32_t times) {
    std::printf("%s %u\n", name.c_str(), times);
}

} // namespace l2vpn::bench
