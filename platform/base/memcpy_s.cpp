// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "l2vpn_db/platform.h"

// EINVAL for a null pointer, ERANGE for too much to copy, EFAULT for buffers that overlap. A
// refused copy leaves the destination as it was: a caller that is wrong about one argument may be
// wrong about the destination's size, too.
int memcpy_s(void *destination, std::size_t destinationSize, const void *source,
             std::size_t count) {
    if (destination == nullptr || source == nullptr) {
        return EINVAL;
    }
    if (count > destinationSize) {
        return ERANGE;
    }
    const auto to = reinterpret_cast<std::uintptr_t>(destination);
    const auto from = reinterpret_cast<std::uintptr_t>(source);
    // Distances rather than ends, which could lie beyond the address space.
    if ((to > from ? to - from : from - to) < count) {
        return EFAULT;
    }
    std::memcpy(destination, source, count);
    return 0;
}
