// SPDX-License-Identifier: MIT
// Loads, stores and copies of memory that another thread may access concurrently. A seqlock reader
// that raced discards what it has loaded. All accesses are relaxed atomics, except copies of
// records, and loads by an instruction of their own.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace l2vpn::platform {

static_assert(std::endian::native == std::endian::little, "the first byte of a word is its lowest");

using Word = std::uint64_t;

template <class Integer>
inline Integer load(const Integer &at) {
    return __atomic_load_n(&at, __ATOMIC_RELAXED);
}

template <std::size_t Size>
struct [[gnu::packed, gnu::may_alias]] Bytes {
    char bytes[Size];
};

/// Loads 16 or 8 bytes from an address of any alignment. Torn if another thread stores at the same
/// time. An instruction of its own, as the language has no such load of shared memory.
using Vector [[gnu::vector_size(16)]] = Word;
inline Vector load_vector(const void *from) {
    Vector value;
#if defined(__x86_64__)
    __asm__ volatile("movdqu %1, %0" : "=x"(value) : "m"(*static_cast<const Bytes<16> *>(from)));
#elif defined(__aarch64__)
    __asm__ volatile("ldr %q0, %1" : "=w"(value) : "m"(*static_cast<const Bytes<16> *>(from)));
#endif
    return value;
}
inline Word load_word(const void *from) {
    Word value = 0;
#if defined(__x86_64__)
    __asm__ volatile("movq %1, %0" : "=r"(value) : "m"(*static_cast<const Bytes<8> *>(from)));
#elif defined(__aarch64__)
    __asm__ volatile("ldr %0, %1" : "=r"(value) : "m"(*static_cast<const Bytes<8> *>(from)));
#endif
    return value;
}

template <class Integer>
inline void store(Integer &at, Integer value) {
    __atomic_store_n(&at, value, __ATOMIC_RELAXED);
}

constexpr std::size_t words_for(std::size_t bytes) {
    return (bytes + sizeof(Word) - 1) / sizeof(Word);
}

template <class Integer>
inline Word load_unaligned(const char *from) {
    Integer value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

/// Loads `count` bytes, at most 8; the upper bytes are 0. Reads no byte beyond them, in the pieces
/// in which key builders write them: of 4, 2 and 1 bytes that do not overlap.
inline Word load_bytes(const char *from, std::size_t count) {
    if (count == sizeof(Word))
        return load_unaligned<Word>(from);
    Word value = 0;
    std::size_t done = 0;
    if ((count & 4) != 0) {
        value = load_unaligned<std::uint32_t>(from);
        done = 4;
    }
    if ((count & 2) != 0) {
        value |= load_unaligned<std::uint16_t>(from + done) << done * 8;
        done += 2;
    }
    if ((count & 1) != 0)
        value |= load_unaligned<std::uint8_t>(from + done) << done * 8;
    return value;
}

/// Loads 8 bytes in pairs, so that no load overlaps two stores of even widths.
inline Word load_pairs(const char *from) {
    Word value = 0;
    for (std::size_t i = 0; i < sizeof(Word); i += 2)
        value |= load_unaligned<std::uint16_t>(from + i) << i * 8;
    return value;
}

// Records are copied by the C library's memcpy, although a reader may race: wide copies take few
// entries of the processor's load and store queues, so that independent reads overlap. That is
// sound because a torn copy is discarded, because the compiler cannot see into the call, and
// because the fences of the seqlock order it.

#if defined(__SANITIZE_THREAD__)
extern "C" void AnnotateIgnoreReadsBegin(const char *file, int line);
extern "C" void AnnotateIgnoreReadsEnd(const char *file, int line);
#endif

/// Copies a record out of its slot.
inline void copy_out(void *to, const Word *words, std::size_t length) {
#if defined(__SANITIZE_THREAD__)
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
#endif
    std::memcpy(to, words, length);
#if defined(__SANITIZE_THREAD__)
    AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
#endif
}

/// Copies a record into its slot. The rest of the last word is undefined.
inline void copy_in(Word *words, const void *from, std::size_t length) {
    std::memcpy(words, from, length);
}

} // namespace l2vpn::platform
