// SPDX-License-Identifier: MIT
// Cursors without a table: their handles and the group lists.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <tuple>
#include <vector>

#include "platform/store/cursor_table.h"

namespace l2vpn::platform {
namespace {

class CursorTableTest : public testing::Test {
protected:
    Cursor *allocate(CursorTable &cursors) {
        Cursor *const cursor = cursors.allocate(allocator_, arena_);
        EXPECT_NE(cursor, nullptr);
        return cursor;
    }

    const Allocator allocator_{nullptr};
    Arena arena_;
};

L2vpnDbIter *handle_of(std::uint64_t bits) {
    return reinterpret_cast<L2vpnDbIter *>(bits); // NOLINT(performance-no-int-to-ptr)
}

TEST_F(CursorTableTest, FindsOpenCursorsByTheirHandlesOnly) {
    constexpr std::uint32_t number = 0xA5F; // of the table
    CursorTable cursors(number);
    EXPECT_EQ(cursors.find(nullptr), nullptr);
    EXPECT_EQ(cursors.find(handle_of(~std::uint64_t{0})), nullptr);
    std::vector<Cursor *> opened;
    for (std::uint32_t i = 0; i < 40; ++i)
        opened.push_back(allocate(cursors));
    for (std::uint32_t i = 0; i < 3; ++i) { // slot 17 in its fourth generation
        cursors.free(*opened[17]);
        EXPECT_EQ(allocate(cursors), opened[17]);
    }
    for (const Cursor *const cursor : opened) {
        const auto bits = reinterpret_cast<std::uint64_t>(cursors.handle(*cursor));
        EXPECT_EQ(bits, std::uint64_t{1} << 63 | std::uint64_t{number} << 51 |
                            std::uint64_t{cursor->generation} << 20 | cursor->slot);
        EXPECT_EQ(cursors.find(handle_of(bits)), cursor);
        // A handle that differs in one bit is another slot's handle, or none.
        for (unsigned bit = 0; bit < 64; ++bit) {
            const Cursor *const other = cursors.find(handle_of(bits ^ std::uint64_t{1} << bit));
            EXPECT_TRUE(other == nullptr || (bit < 20 && other->slot == (cursor->slot ^ 1U << bit)))
                << bit;
        }
    }
    EXPECT_EQ(cursors.find(handle_of(std::uint64_t{1} << 63 | std::uint64_t{number} << 51 | 40)),
              nullptr)
        << "a slot that has never been used";
    cursors.free(*opened[17]);
    EXPECT_EQ(cursors.find(cursors.handle(*opened[17])), nullptr);
}

TEST_F(CursorTableTest, HandlesHoldAnyTableNumber) {
    for (const std::uint32_t number : {0U, 1U, 4095U}) {
        CursorTable cursors(number);
        Cursor *const cursor = allocate(cursors);
        EXPECT_EQ(cursors.find(cursors.handle(*cursor)), cursor);
        EXPECT_EQ(CursorTable(number ^ 1).find(cursors.handle(*cursor)), nullptr);
    }
}

// The handle of generation 2^31 would be that of generation 0.
TEST_F(CursorTableTest, SlotsHaveTwoToThe31Generations) {
    CursorTable cursors(3);
    Cursor *const cursor = allocate(cursors);
    cursor->generation = 0x7FFFFFFE;
    cursors.free(*cursor);
    ASSERT_EQ(allocate(cursors), cursor);
    EXPECT_EQ(cursor->generation, 0x7FFFFFFFU);
    EXPECT_EQ(cursors.find(cursors.handle(*cursor)), cursor);
    cursors.free(*cursor);
    EXPECT_NE(allocate(cursors), cursor);
}

// The groups' lists against a set of cursors, with equal hashes in two indexes.
TEST_F(CursorTableTest, GroupsHoldTheCursorsThatWereAdded) {
    CursorTable cursors(3);
    const auto index_of = [](std::uint32_t i) {
        return reinterpret_cast<Index *>(std::uintptr_t{i + 1} << 6); // NOLINT
    };
    using Group = std::pair<const Index *, Hash>;
    std::set<std::pair<Group, Cursor *>> model;
    std::vector<Cursor *> opened;
    std::mt19937 random(1);
    const auto visited = [&](const Group &group) {
        std::multiset<Cursor *> found;
        cursors.visit_group(group.first, group.second,
                            [&](Cursor &cursor) { found.insert(&cursor); });
        return found;
    };
    EXPECT_TRUE(visited({index_of(0), 0}).empty());
    for (int step = 0; step < 6000; ++step) {
        if (model.empty() || random() % 5 < (step < 3000 ? 3U : 2U)) {
            Cursor *const cursor = allocate(cursors);
            cursor->index = index_of(random() % 2);
            cursor->hash = static_cast<Hash>(random() % 12) * 0x10000001;
            cursors.add_to_group(*cursor);
            model.insert({{cursor->index, cursor->hash}, cursor});
            opened.push_back(cursor);
        } else {
            Cursor *&chosen = opened[random() % opened.size()];
            cursors.remove_from_group(*chosen);
            cursors.free(*chosen);
            model.erase({{chosen->index, chosen->hash}, chosen});
            chosen = opened.back();
            opened.pop_back();
        }
        if (step % 10 != 0)
            continue;
        for (std::uint32_t i = 0; i < 2; ++i)
            for (Hash hash = 0; hash < 13; ++hash) {
                const Group group{index_of(i), hash * 0x10000001};
                std::multiset<Cursor *> expected;
                for (auto at = model.lower_bound({group, nullptr});
                     at != model.end() && at->first == group; ++at)
                    expected.insert(at->second);
                ASSERT_EQ(visited(group), expected) << step;
            }
    }
}

TEST_F(CursorTableTest, VisitsMayRemoveTheCursor) {
    CursorTable cursors(3);
    Index *const index = reinterpret_cast<Index *>(std::uintptr_t{64}); // NOLINT
    for (int i = 0; i < 20; ++i) {
        Cursor *const cursor = allocate(cursors);
        cursor->index = index;
        cursor->hash = 5;
        cursors.add_to_group(*cursor);
    }
    int visits = 0;
    cursors.visit_group(index, 5, [&](Cursor &cursor) {
        ++visits;
        cursors.remove_from_group(cursor);
    });
    EXPECT_EQ(visits, 20);
    cursors.visit_group(index, 5, [&](Cursor &) { ++visits; });
    EXPECT_EQ(visits, 20);
}

} // namespace
} // namespace l2vpn::platform
