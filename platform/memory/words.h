// SPDX-License-Identifier: MIT
// Records are read while they may be written (the reader finds out afterwards and starts again), so
// that what both touch is accessed in atomic words.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace l2vpn::platform {

static_assert(std::endian::native == std::endian::little, "bytes are taken from words");

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

/// The first `count` bytes at `from`, at most 8, the others 0. Looks at no byte behind them.
inline Word load_bytes(const char *from, std::size_t count) {
    if (count == sizeof(Word))
        return load_unaligned<Word>(from);
    // Two pieces that overlap, so that no byte beyond the last is read.
    if (count >= 4)
        return load_unaligned<std::uint32_t>(from) | load_unaligned<std::uint32_t>(from + count - 4)
                                                         << (count - 4) * 8;
    if (count >= 2)
        return load_unaligned<std::uint16_t>(from) | load_unaligned<std::uint16_t>(from + count - 2)
                                                         << (count - 2) * 8;
    return count == 0 ? 0 : load_unaligned<std::uint8_t>(from);
}

/// Writes the first `count` bytes of a word, fewer than 8.
inline void store_bytes(char *to, Word word, std::size_t count) {
    if ((count & 4) != 0) {
        std::memcpy(to, &word, 4);
        to += 4;
        word >>= 32;
    }
    if ((count & 2) != 0) {
        std::memcpy(to, &word, 2);
        to += 2;
        word >>= 16;
    }
    if ((count & 1) != 0)
        std::memcpy(to, &word, 1);
}

/// Calls use(i) for i from 0 to count - 1, without a loop for each eight of them.
template <class Use>
inline void for_each_word(std::size_t count, Use use) {
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8)
        [&]<std::size_t... N>(std::index_sequence<N...>) {
            (use(i + N), ...);
        }
    (std::make_index_sequence<8>{});
    for (; i < count; ++i)
        use(i);
}

/// Copies a record out of its words.
inline void copy_out(void *to, const Word *words, std::size_t length) {
    char *const at = static_cast<char *>(to);
    const std::size_t whole = length / sizeof(Word);
    for_each_word(whole, [&](std::size_t i) {
        const Word word = load(words[i]);
        std::memcpy(at + i * sizeof word, &word, sizeof word);
    });
    if (length % sizeof(Word) != 0)
        store_bytes(at + whole * sizeof(Word), load(words[whole]), length % sizeof(Word));
}

/// Copies a record into its words; the bytes behind it in the last one become 0.
inline void copy_in(Word *words, const void *from, std::size_t length) {
    const char *const at = static_cast<const char *>(from);
    const std::size_t whole = length / sizeof(Word);
    for_each_word(whole, [&](std::size_t i) {
        store(words[i], load_unaligned<Word>(at + i * sizeof(Word)));
    });
    if (length % sizeof(Word) != 0)
        store(words[whole], load_bytes(at + whole * sizeof(Word), length % sizeof(Word)));
}

} // namespace l2vpn::platform
