// SPDX-License-Identifier: MIT
#include <atomic>

#include "l2vpn_db/platform.h"

#ifdef __x86_64__
#include <dlfcn.h>
#include <link.h>
#include <sys/single_threaded.h>
#endif

namespace {

/// Relaxed: a counter orders no other accesses.
std::uint32_t add_atomically(std::uint32_t *counter, std::uint32_t amount) {
    return std::atomic_ref(*counter).fetch_add(amount, std::memory_order_relaxed) + amount;
}

#ifdef __x86_64__

/// The addresses of a module that is never unloaded. Its writable memory is private to the process.
struct Module {
    std::uintptr_t begin;
    std::uintptr_t size;
};

/// The module of the first counter that lies in one, normally the library. Set once, while the
/// process has one thread; only a signal handler can interfere.
constinit Module module{0, 0};

bool is_never_unloaded(const link_map &map) {
    for (const ElfW(Dyn) *entry = map.l_ld; entry->d_tag != DT_NULL; ++entry)
        if (entry->d_tag == DT_FLAGS_1)
            return (entry->d_un.d_val & DF_1_NODELETE) != 0;
    return false;
}

void find_module(std::uint32_t *counter) {
    dl_find_object found{};
    if (module.begin != 0 || _dl_find_object(counter, &found) != 0 ||
        !is_never_unloaded(*found.dlfo_link_map))
        return;
    static constinit std::uint32_t claimed = 0;
    if (std::atomic_ref(claimed).exchange(1, std::memory_order_relaxed) != 0)
        return;
    module.begin = reinterpret_cast<std::uintptr_t>(found.dlfo_map_start);
    __asm__ volatile("" ::: "memory"); // a signal handler sees the size after the address
    module.size = reinterpret_cast<std::uintptr_t>(found.dlfo_map_end) - module.begin;
}

[[gnu::noinline]] std::uint32_t add_outside_module(std::uint32_t *counter, std::uint32_t amount) {
    find_module(counter);
    return add_atomically(counter, amount);
}

#endif

} // namespace

std::uint32_t ZAV_AtomicAdd(std::uint32_t *counter, std::uint32_t amount) {
#ifdef __x86_64__
    // A locked instruction waits for all earlier reads. While the process has one thread, a plain
    // add suffices; but only in the memory of a module, because processes may share other memory.
    if (__libc_single_threaded) {
        if (reinterpret_cast<std::uintptr_t>(counter) - module.begin >= module.size) [[unlikely]]
            return add_outside_module(counter, amount);
        return *counter += amount;
    }
#endif
    return add_atomically(counter, amount);
}
