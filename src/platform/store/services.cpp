// SPDX-License-Identifier: MIT
#include "platform/store/services.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <pthread.h>

#include "platform/store/shared_words.h"

namespace l2vpn::platform {

namespace {

// Another thread may register a service concurrently, so each word is loaded once.

template <class Function>
Function function(std::uintptr_t word) {
    return reinterpret_cast<Function>(word); // NOLINT(performance-no-int-to-ptr)
}

} // namespace

Allocator::Allocator(const L2vpnDbModuleIntf *module)
    : allocate_(std::malloc), release_(std::free) {
    if (module == nullptr)
        return;
    const std::uintptr_t allocate = load(module->memory[0]);
    const std::uintptr_t release = load(module->memory[1]);
    if (allocate != 0 && release != 0) {
        allocate_ = function<L2vpnStoreAllocateFn>(allocate);
        release_ = function<L2vpnStoreReleaseFn>(release);
    }
}

// A thread that is cancelled in the service would never unlock the table.
void *Allocator::allocate(std::size_t size) const {
    int state = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    void *const memory = allocate_(size);
    pthread_setcancelstate(state, nullptr);
    return memory;
}

bool Allocator::is_malloc() const {
    return allocate_ == std::malloc && release_ == std::free;
}

void log(const L2vpnDbModuleIntf *module, const char *format, ...) {
    const std::uintptr_t word = module == nullptr ? 0 : load(module->log);
    if (word == 0)
        return;
    char text[201];
    std::va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    function<L2vpnStoreLogFn>(word)(text);
}

} // namespace l2vpn::platform
