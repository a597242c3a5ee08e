// SPDX-License-Identifier: MIT
// The memory and log services registered in the module interface block, and their defaults.
#pragma once

#include <cstddef>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::platform {

/// The memory service that is registered at construction, or malloc and free.
class Allocator {
public:
    explicit Allocator(const L2vpnDbModuleIntf *module);

    /// Returns memory aligned for any type, or null.
    [[nodiscard]] void *allocate(std::size_t size) const;
    [[nodiscard]] L2vpnStoreReleaseFn release_function() const { return release_; }
    /// Whether the functions are malloc and free, so that the caller may map memory itself.
    [[nodiscard]] bool is_malloc() const;

private:
    L2vpnStoreAllocateFn allocate_;
    L2vpnStoreReleaseFn release_;
};

/// Writes a line of at most 200 characters to the log service, if one is registered.
__attribute__((format(printf, 2, 3))) void log(const L2vpnDbModuleIntf *module, const char *format,
                                               ...);

} // namespace l2vpn::platform
