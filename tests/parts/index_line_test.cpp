// SPDX-License-Identifier: MIT
// A line of the hash index in isolation.
#include <gtest/gtest.h>

#include "platform/store/index_line.h"

namespace l2vpn::platform {
namespace {

constexpr Hash hash_of(std::uint32_t entry) {
    return 0x80000001U * (entry + 1);
}

/// A line with `count` entries of records 100, 101, ...
IndexLine line_of(std::uint32_t count) {
    IndexLine line;
    for (std::uint32_t entry = 0; entry < count; ++entry)
        line.set(entry, hash_of(entry), 100 + entry);
    return line;
}

TEST(IndexLine, IsACacheLine) {
    EXPECT_EQ(sizeof(IndexLine), 64U);
    EXPECT_EQ(alignof(IndexLine), 64U);
}

TEST(IndexLine, HoldsEightEntries) {
    for (std::uint32_t count = 0; count <= IndexLine::size; ++count) {
        const IndexLine line = line_of(count);
        EXPECT_EQ(line.count(), count);
        EXPECT_EQ(line.full(), count == 8);
        for (std::uint32_t entry = 0; entry < count; ++entry) {
            EXPECT_EQ(line.hash(entry), hash_of(entry));
            EXPECT_EQ(line.record(entry), 100 + entry);
            EXPECT_EQ(line.match(hash_of(entry)), 1U << entry);
        }
        for (std::uint32_t entry = count; entry < IndexLine::size; ++entry)
            EXPECT_EQ(line.record(entry), no_record);
        EXPECT_EQ(line.match(hash_of(count)), 0U);
    }
}

TEST(IndexLine, MatchesAllEntriesWithAHash) {
    for (std::uint32_t set = 0; set < 256; ++set) {
        IndexLine line;
        for (std::uint32_t entry = 0; entry < IndexLine::size; ++entry)
            line.set(entry, (set >> entry & 1) != 0 ? 5 : 6, entry);
        EXPECT_EQ(line.match(5), set);
        EXPECT_EQ(line.match(6), set ^ 0xFF);
        EXPECT_EQ(line.match(7), 0U);
    }
}

TEST(IndexLine, SetChangesOneEntry) {
    for (std::uint32_t changed = 0; changed < IndexLine::size; ++changed) {
        IndexLine line = line_of(8);
        line.set(changed, 0x12345678, 7);
        for (std::uint32_t entry = 0; entry < IndexLine::size; ++entry) {
            EXPECT_EQ(line.hash(entry), entry == changed ? 0x12345678 : hash_of(entry));
            EXPECT_EQ(line.record(entry), entry == changed ? 7 : 100 + entry);
        }
    }
}

TEST(IndexLine, ClearFreesEntries) {
    IndexLine line = line_of(8);
    line.clear(7);
    EXPECT_EQ(line.count(), 7U);
    EXPECT_FALSE(line.full());
    EXPECT_EQ(line.record(7), no_record);
    EXPECT_EQ(line.record(6), 106U);
    line.clear();
    EXPECT_EQ(line.count(), 0U);
}

TEST(IndexLine, AssignCopiesAllEntriesAndNothingElse) {
    const IndexLine from[] = {line_of(8), line_of(0)};
    IndexLine lines[2] = {line_of(0), line_of(8)};
    lines[0].assign(from[0]);
    for (const IndexLine &line : lines)
        for (std::uint32_t entry = 0; entry < IndexLine::size; ++entry) {
            EXPECT_EQ(line.hash(entry), hash_of(entry));
            EXPECT_EQ(line.record(entry), 100 + entry);
        }
    lines[0].clear();
    EXPECT_EQ(lines[1].hash(0), hash_of(0));
}

} // namespace
} // namespace l2vpn::platform
