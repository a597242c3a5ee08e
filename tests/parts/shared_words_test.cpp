// SPDX-License-Identifier: MIT
// Copies between a caller's bytes and the words that optimistic readers share.
#include <gtest/gtest.h>

#include <numeric>

#include "platform/store/shared_words.h"
#include "tests/parts/guarded_memory.h"

namespace l2vpn::platform {
namespace {

constexpr std::size_t max_length = 41;

/// Bytes 1, 2, 3, ... at the end of a page.
class Numbered : public test::GuardedMemory {
public:
    explicit Numbered(std::size_t size) : GuardedMemory(size) {
        std::iota(data(), data() + size, char{1});
    }
};

TEST(SharedWords, HoldBytes) {
    for (std::size_t length = 0; length <= max_length; ++length)
        EXPECT_EQ(words_for(length), length / 8 + (length % 8 != 0 ? 1 : 0)) << length;
}

TEST(SharedWords, AreLoadedAndStoredWhole) {
    Word word = 0x0102030405060708;
    EXPECT_EQ(load(word), 0x0102030405060708U);
    store(word, Word{0x1112131415161718});
    EXPECT_EQ(word, 0x1112131415161718U);
}

TEST(SharedWords, LoadBytesReadsExactlyTheCount) {
    Word expected = 0;
    for (std::size_t count = 0; count <= 8; ++count) {
        const Numbered bytes(count);
        expected |= count == 0 ? 0 : Word{count} << 8 * (count - 1);
        EXPECT_EQ(load_bytes(bytes.data(), count), expected) << count;
    }
}

TEST(SharedWords, CopyOutWritesExactlyTheLength) {
    for (std::size_t length = 0; length <= max_length; ++length) {
        const Numbered from(words_for(length) * sizeof(Word));
        const test::GuardedMemory to(length + 1);
        copy_out(to.data() + 1, reinterpret_cast<const Word *>(from.data()), length);
        EXPECT_EQ(std::memcmp(to.data() + 1, from.data(), length), 0) << length;
        EXPECT_EQ(static_cast<unsigned char>(to.data()[0]), 0xA5) << length;
        const test::GuardedMemory followed(length + 1);
        copy_out(followed.data(), reinterpret_cast<const Word *>(from.data()), length);
        EXPECT_EQ(static_cast<unsigned char>(followed.data()[length]), 0xA5) << length;
    }
}

TEST(SharedWords, CopyInReadsExactlyTheLength) {
    for (std::size_t length = 0; length <= max_length; ++length) {
        const Numbered from(length);
        // The next word belongs to a chain link.
        const test::GuardedMemory to((words_for(length) + 1) * sizeof(Word));
        copy_in(reinterpret_cast<Word *>(to.data()), from.data(), length);
        EXPECT_EQ(std::memcmp(to.data(), from.data(), length), 0) << length;
        EXPECT_EQ(static_cast<unsigned char>(to.data()[words_for(length) * sizeof(Word)]), 0xA5)
            << length;
    }
}

} // namespace
} // namespace l2vpn::platform
