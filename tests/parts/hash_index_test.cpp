// SPDX-License-Identifier: MIT
// When a hash index takes memory and splits its pages.
#include <gtest/gtest.h>

#include "platform/store/hash_index.h"
#include "tests/parts/checked_memory.h"

namespace l2vpn::platform {
namespace {

class HashIndexMemory : public testing::Test {
protected:
    static constexpr std::uint32_t page_entries = 512;
    static constexpr std::size_t page_bytes = 4160;

    bool reserve(Hash hash) { return index_.reserve(memory_.allocator(), arena_, lock_, hash); }
    /// Whether reserve() has split a page. It must succeed.
    bool splits(Hash hash) {
        bool reserved = false;
        const bool undisturbed = lock_.try_read([&] { return reserve(hash); }, reserved);
        EXPECT_TRUE(undisturbed ? reserved : reserve(hash));
        return !undisturbed;
    }
    void insert(Hash hash) { index_.insert(hash, entries_++); }

    test::CheckedMemory memory_;
    Arena arena_;
    SeqLock lock_;
    HashIndex index_;
    std::uint32_t entries_ = 0;
};

/// Spreads over pages and lines.
constexpr Hash spread(std::uint32_t i) {
    return i * 0x9E3779B1U;
}

// Even if all hashes are equal. The numbers are 55 % of the pages, and 15 % more of each page that
// has been split.
TEST_F(HashIndexMemory, SplitsDependOnTheNumberOfEntriesOnly) {
    const std::vector<std::uint32_t> expected{281,  562,  639,  1124, 1201, 1278, 1355, 2248,
                                              2325, 2402, 2479, 2556, 2633, 2710, 2787};
    for (Hash (*const hash)(std::uint32_t) : {+spread, +[](std::uint32_t) { return Hash{3}; }}) {
        index_ = HashIndex();
        std::vector<std::uint32_t> found;
        for (entries_ = 0; entries_ < 3300;) {
            if (splits(hash(entries_)) && entries_ != 0)
                found.push_back(entries_);
            insert(hash(entries_));
        }
        EXPECT_EQ(found, expected);
    }
}

TEST_F(HashIndexMemory, NeedsNoMemoryForEntriesThatFit) {
    ASSERT_TRUE(reserve(0));
    EXPECT_LE(memory_.bytes(), 2 * page_bytes + 64);
    memory_.fail_after(0);
    while (entries_ < 562) {
        ASSERT_TRUE(reserve(spread(entries_))) << entries_;
        insert(spread(entries_));
    }
    EXPECT_FALSE(reserve(spread(entries_))) << "a third page is needed";
    memory_.stop_failing();
    EXPECT_TRUE(reserve(spread(entries_)));
    EXPECT_LE(memory_.bytes(), 4 * page_bytes + 2 * 64) << "two more pages, no overflow page";
}

TEST_F(HashIndexMemory, TakesOneOverflowPageAtATime) {
    const auto fill = [&](std::uint32_t entries) {
        while (entries_ < entries) {
            ASSERT_TRUE(reserve(0));
            insert(0);
        }
    };
    fill(page_entries);
    const std::size_t pages = memory_.bytes();
    memory_.fail_after(0);
    EXPECT_FALSE(reserve(0)) << "the page is full";
    memory_.stop_failing();
    EXPECT_TRUE(reserve(0));
    EXPECT_LE(memory_.bytes() - pages, page_bytes + 64);
    memory_.fail_after(0);
    EXPECT_TRUE(reserve(0)) << "reserved already";
    fill(560); // less than where the next page is split
    memory_.stop_failing();
    const std::size_t before = memory_.bytes();
    fill(562);
    EXPECT_EQ(memory_.bytes(), before);
    // Page 0 is split, which takes a new chunk of two pages. Its overflow page is reserved once
    // more, because both halves may need one.
    ASSERT_TRUE(reserve(0));
    EXPECT_LE(memory_.bytes() - before, 3 * page_bytes + 2 * 64);
    const std::size_t split = memory_.bytes();
    fill(639);
    EXPECT_EQ(memory_.bytes(), split);
    fill(2 * page_entries);
    EXPECT_LE(memory_.bytes() - split, 4 * page_bytes + 64)
        << "four pages; the overflow page of before the split is reused";
}

} // namespace
} // namespace l2vpn::platform
