// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "l2vpn_db/platform.h"

namespace {

/// Copies Size to 2 * Size bytes in two moves, which overlap if need be.
template <std::size_t Size>
inline void copy_ends(char *to, const char *from, std::size_t count) {
    __builtin_memcpy(to, from, Size);
    __builtin_memcpy(to + count - Size, from + count - Size, Size);
}

/// What tables have is short: addresses of 6 bytes, halves of contexts of 12 to 72 bytes.
inline void copy(char *to, const char *from, std::size_t count) {
    if (count - 16 <= 16)
        copy_ends<16>(to, from, count);
    else if (count - 32 <= 32)
        copy_ends<32>(to, from, count);
    else if (count - 4 <= 4)
        copy_ends<4>(to, from, count);
    else if (count - 8 <= 8)
        copy_ends<8>(to, from, count);
    else
        std::memcpy(to, from, count);
}

} // namespace

// EINVAL for a null pointer, ERANGE for too much to copy, EFAULT for buffers that overlap. A
// refused copy leaves the destination as it was: a caller that is wrong about one argument may be
// wrong about the destination's size, too.
int memcpy_s(void *destination, std::size_t destinationSize, const void *source,
             std::size_t count) {
    if (destination == nullptr || source == nullptr) [[unlikely]] {
        return EINVAL;
    }
    if (count > destinationSize) [[unlikely]] {
        return ERANGE;
    }
    const auto to = reinterpret_cast<std::uintptr_t>(destination);
    const auto from = reinterpret_cast<std::uintptr_t>(source);
    // Distances rather than ends, which could lie beyond the address space.
    if (to - from < count || from - to < count) [[unlikely]] {
        return EFAULT;
    }
    copy(static_cast<char *>(destination), static_cast<const char *>(source), count);
    return 0;
}
