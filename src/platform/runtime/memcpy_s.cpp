// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "l2vpn_db/platform.h"

namespace {

using Wide [[gnu::vector_size(16)]] = std::uint64_t;

// Copies in pieces, which may overlap. All are loaded before the first is stored: a load that may
// depend on a recent store is slower.

template <class Piece>
inline Piece load(const char *from) {
    Piece piece;
    std::memcpy(&piece, from, sizeof piece);
    return piece;
}

template <class Piece>
inline void store(char *to, Piece piece) {
    std::memcpy(to, &piece, sizeof piece);
}

/// Copies one to two times the size of a Piece.
template <class Piece>
inline void copy_two(char *to, const char *from, std::size_t count) {
    const std::size_t last = count - sizeof(Piece);
    const Piece pieces[] = {load<Piece>(from), load<Piece>(from + last)};
    store(to, pieces[0]);
    store(to + last, pieces[1]);
}

/// Copies two to four times the size of a Piece.
template <class Piece>
inline void copy_four(char *to, const char *from, std::size_t count) {
    const std::size_t third = count - 2 * sizeof(Piece);
    const std::size_t last = count - sizeof(Piece);
    const Piece pieces[] = {load<Piece>(from), load<Piece>(from + sizeof(Piece)),
                            load<Piece>(from + third), load<Piece>(from + last)};
    store(to, pieces[0]);
    store(to + sizeof(Piece), pieces[1]);
    store(to + third, pieces[2]);
    store(to + last, pieces[3]);
}

/// Copies a MAC address in pieces that do not overlap: it is often part of a key that is read at
/// once, and a load is forwarded from one recent store only, not from two.
inline void copy_address(char *to, const char *from) {
    const auto head = load<std::uint32_t>(from);
    const auto tail = load<std::uint16_t>(from + sizeof head);
    store(to, head);
    store(to + sizeof head, tail);
}

/// Opaque fields are short: addresses of 6 bytes, halves of contexts of 12 to 72 bytes.
inline void copy(char *to, const char *from, std::size_t count) {
    if (count - 16 <= 16)
        copy_two<Wide>(to, from, count);
    else if (count - 32 <= 32)
        copy_four<Wide>(to, from, count);
    else if (count == 6)
        copy_address(to, from);
    else if (count - 4 <= 4)
        copy_two<std::uint32_t>(to, from, count);
    else if (count - 8 <= 8)
        copy_two<std::uint64_t>(to, from, count);
    else
        std::memcpy(to, from, count);
}

} // namespace

// EINVAL: a null pointer. ERANGE: the count exceeds the destination. EFAULT: the ranges overlap. On
// error, the destination is unchanged, because its size may be wrong, too.
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
    // Compares distances, because the end of a range may overflow.
    if (to - from < count || from - to < count) [[unlikely]] {
        return EFAULT;
    }
    copy(static_cast<char *>(destination), static_cast<const char *>(source), count);
    return 0;
}
