// SPDX-License-Identifier: MIT
// The memory and log services that the module interface block carries, or what stands in for them.
#pragma once

#include <cstddef>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::platform {

/// The memory service as registered when it is asked for; malloc and free without one.
class Allocator {
public:
    explicit Allocator(const L2vpnDbModuleIntf *module);

    /// Null without memory. Aligned for any type.
    [[nodiscard]] void *allocate(std::size_t size) const { return allocate_(size); }
    [[nodiscard]] L2vpnStoreReleaseFn releaser() const { return release_; }
    /// Whether the memory comes from the C library, whose pages may be advised about.
    [[nodiscard]] bool own() const;

private:
    L2vpnStoreAllocateFn allocate_;
    L2vpnStoreReleaseFn release_;
};

/// Reports through the log service; silent without one. The text is cut off at 200 characters.
__attribute__((format(printf, 2, 3))) void log(const L2vpnDbModuleIntf *module, const char *format,
                                               ...);

} // namespace l2vpn::platform
