// SPDX-License-Identifier: MIT
// How much an arena takes from the memory service, and where it allocates.
#include <gtest/gtest.h>

#include "tests/parts/checked_memory.h"

namespace l2vpn::platform {
namespace {

class ArenaMemory : public testing::Test {
protected:
    char *allocate(std::size_t size) {
        auto *const piece = static_cast<char *>(arena_.allocate(memory_.allocator(), size));
        EXPECT_NE(piece, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 64, 0U);
        EXPECT_TRUE(memory_.owns(piece, size)) << size;
        return piece;
    }

    test::CheckedMemory memory_;
    Arena arena_;
};

// Any allocation may be at another distance from a cache line.
TEST_F(ArenaMemory, PiecesAreDisjointPartsOfBlocks) {
    std::vector<std::pair<char *, std::size_t>> pieces;
    for (int round = 0; round < 300; ++round)
        for (const std::size_t size : {1U, 63U, 64U, 65U, 1000U, 5000U}) {
            char *const piece = allocate(size);
            std::memset(piece, static_cast<int>(pieces.size() % 251), size);
            pieces.emplace_back(piece, size);
        }
    for (std::size_t i = 0; i < pieces.size(); ++i)
        ASSERT_TRUE(
            std::all_of(pieces[i].first, pieces[i].first + pieces[i].second,
                        [i](char byte) { return static_cast<unsigned char>(byte) == i % 251; }))
            << i;
}

TEST_F(ArenaMemory, RoundsUpToCacheLines) {
    allocate(std::size_t{1} << 20); // the next block has room for all pieces
    const char *piece = allocate(1);
    for (const auto &[size, distance] :
         {std::pair{1U, 64}, {64U, 64}, {65U, 128}, {128U, 128}, {129U, 192}}) {
        allocate(size);
        const char *const next = allocate(1);
        EXPECT_EQ(next - piece, 64 + distance) << size;
        piece = next;
    }
}

// A table with few records takes little memory, a large one few blocks.
TEST_F(ArenaMemory, BlocksGrowWithTheArena) {
    allocate(64);
    EXPECT_EQ(memory_.allocations(), 1U);
    EXPECT_LE(memory_.bytes(), 2 * 64U);
    std::size_t taken = 64;
    const auto allocate_until = [&](std::size_t total) {
        for (; taken < total; taken += 64)
            allocate(64);
    };
    allocate_until(4096);
    EXPECT_LE(memory_.bytes(), 4096 + 4096 + 64 * memory_.allocations());
    allocate_until(std::size_t{64} << 10);
    EXPECT_LE(memory_.bytes(), (std::size_t{64} << 10) + 4096 + 64 * memory_.allocations());
    EXPECT_LE(memory_.last_size(), 4096U + 64);
    allocate_until(std::size_t{128} << 10);
    EXPECT_EQ(memory_.last_size(), 2 * 4096U + 64) << "a sixteenth of the arena, in whole pages";
    allocate_until(std::size_t{4} << 20);
    EXPECT_EQ(memory_.last_size(), 16 * 4096U + 64) << "at most 64 KiB";
    EXPECT_LE(memory_.bytes(), taken / 16 * 17 + 64 * memory_.allocations());
}

TEST_F(ArenaMemory, KeepsTheLargerRestOfABlock) {
    // A request that exceeds the rest of a block gets another block.
    allocate(std::size_t{1} << 20);
    allocate(64); // a block of 64 KiB, nearly free
    const std::size_t before = memory_.allocations();
    allocate(std::size_t{1} << 20); // a block that it fills
    EXPECT_EQ(memory_.allocations(), before + 1);
    allocate(60 * 1024);
    EXPECT_EQ(memory_.allocations(), before + 1) << "from the old block";
    allocate(60 * 1024); // large: a block that it fills
    EXPECT_EQ(memory_.allocations(), before + 2);
    allocate(3 * 1024);
    EXPECT_EQ(memory_.allocations(), before + 2) << "from the old block";
}

TEST_F(ArenaMemory, FailureChangesNothing) {
    allocate(64);
    allocate(64); // a page
    memory_.fail_after(0);
    EXPECT_EQ(arena_.allocate(memory_.allocator(), 8192), nullptr);
    allocate(1024);
    memory_.stop_failing();
    allocate(8192);
}

} // namespace
} // namespace l2vpn::platform
