// SPDX-License-Identifier: MIT
// Loads, stores and copies of data that another thread may access concurrently. A seqlock reader
// that raced discards its result.
#pragma once

#include <algorithm>
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

/// Loads `count` bytes, at most 8; the upper bytes are 0. Reads no byte beyond them.
inline Word load_bytes(const char *from, std::size_t count) {
    if (count == sizeof(Word))
        return load_unaligned<Word>(from);
    // Two loads that overlap.
    if (count >= 4)
        return load_unaligned<std::uint32_t>(from) | load_unaligned<std::uint32_t>(from + count - 4)
                                                         << (count - 4) * 8;
    if (count >= 2)
        return load_unaligned<std::uint16_t>(from) | load_unaligned<std::uint16_t>(from + count - 2)
                                                         << (count - 2) * 8;
    return count == 0 ? 0 : load_unaligned<std::uint8_t>(from);
}

#if defined(__SANITIZE_THREAD__)
#define L2VPN_ATOMIC_WORDS 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define L2VPN_ATOMIC_WORDS 1
#endif
#endif

#ifdef L2VPN_ATOMIC_WORDS

// ThreadSanitizer accepts atomic accesses only, which take several times as long.

/// Loads the 8 bytes at `offset` bytes from `words`. May read the 8 bytes after them.
inline Word load_within(const Word *words, std::size_t offset) {
    const Word *const at = words + offset / sizeof(Word);
    const std::size_t shift = offset % sizeof(Word) * 8;
    return shift == 0 ? load(at[0]) : load(at[0]) >> shift | load(at[1]) << (64 - shift);
}

/// Copies a record out of its slot.
inline void copy_out(void *to, const Word *words, std::size_t length) {
    char *const at = static_cast<char *>(to);
    for (std::size_t done = 0; done < length; done += sizeof(Word)) {
        const Word word = load(words[done / sizeof word]);
        std::memcpy(at + done, &word, std::min(sizeof word, length - done));
    }
}

/// Copies a record into its slot. The rest of the last word is undefined.
inline void copy_in(Word *words, const void *from, std::size_t length) {
    const char *const at = static_cast<const char *>(from);
    for (std::size_t done = 0; done < length; done += sizeof(Word))
        store(words[done / sizeof(Word)],
              load_bytes(at + done, std::min(sizeof(Word), length - done)));
}

#else

inline Word load_within(const Word *words, std::size_t offset) {
    struct [[gnu::packed, gnu::may_alias]] Unaligned {
        Word word;
    };
    const char *const at = reinterpret_cast<const char *>(words) + offset;
    return reinterpret_cast<const volatile Unaligned *>(at)->word;
}

inline void copy_out(void *to, const Word *words, std::size_t length) {
    std::memcpy(to, words, length);
}

inline void copy_in(Word *words, const void *from, std::size_t length) {
    std::memcpy(words, from, length);
}

#endif

} // namespace l2vpn::platform
