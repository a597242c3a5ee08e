// SPDX-License-Identifier: MIT
#include "tests/platform/failing_memory.h"

#include <cstdlib>
#include <new>

namespace {

/// Allocations of this thread until they fail; negative for never.
thread_local int until_failure = -1;

} // namespace

namespace l2vpn::test {

void fail_allocations_after(int successes) {
    until_failure = successes;
}
void stop_failing_allocations() {
    until_failure = -1;
}

} // namespace l2vpn::test

void *operator new(std::size_t size) {
    if (until_failure == 0) {
        throw std::bad_alloc();
    }
    until_failure -= until_failure > 0;
    if (void *memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}
