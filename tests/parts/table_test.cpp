// SPDX-License-Identifier: MIT
// The memory of a table of a made-up layout, and what fails without memory.
#include <gtest/gtest.h>

#include "platform/store/table.h"
#include "tests/parts/checked_memory.h"

namespace l2vpn::platform {
namespace {

constexpr KeyMember primary[] = {{0, 4}};
constexpr KeyMember split[] = {{4, 2}, {8, 2}, {12, 1}}; // three segments
constexpr KeyMember last[] = {{36, 4}};
constexpr KeyLayout keys[] = {{primary, 4}, {split, 5}, {last, 4}};
constexpr TableLayout layout{"l2vpn_sample", 40, TableLayout::no_field, keys};

class TableMemory : public testing::Test {
protected:
    Status write(std::uint32_t number) { return write(number, number); }
    Status write(std::uint32_t number, std::uint32_t last_key) {
        std::array<char, 40> record{};
        std::memcpy(record.data(), &number, sizeof number);
        std::memcpy(record.data() + 36, &last_key, sizeof last_key);
        return table_->write(memory_.allocator(), record.data());
    }
    [[nodiscard]] std::uint32_t count() const {
        std::uint32_t result = 0;
        table_->count(result);
        return result;
    }

    /// Expects record `number` to be the only one with this last key, for all numbers below `end`.
    void expect_last_keys(std::uint32_t end) {
        for (std::uint32_t number = 0; number < end; ++number) {
            std::array<char, 40> stored{};
            const CheckedKey key{&table_->indexes()[2], {reinterpret_cast<const char *>(&number)}};
            ASSERT_EQ(table_->read(*key.index, key.probe(), stored.data()).code, 0U);
            ASSERT_EQ(std::memcmp(stored.data(), &number, sizeof number), 0);
            std::uint32_t count = 0;
            table_->count_by(key, count);
            ASSERT_EQ(count, 1U);
        }
    }

    test::CheckedMemory memory_;
    Table *const table_ = Table::create(memory_.allocator(), layout, 7);
};

TEST_F(TableMemory, AnEmptyTableTakesLittle) {
    ASSERT_NE(table_, nullptr);
    EXPECT_LE(memory_.bytes(), 2 * 4096U);
}

// A slot has 5 words of record, a link for each secondary key, and a number.
TEST_F(TableMemory, SlotsHaveALinkForEachSecondaryKey) {
    ASSERT_EQ(write(1).code, 0U);
    EXPECT_TRUE(memory_.has_block(std::size_t{64} * 8 * (5 + 2 + 1) + 64));
}

TEST_F(TableMemory, ManyRecordsStayInTheirBlocks) {
    for (std::uint32_t number = 0; number < 5000; ++number)
        ASSERT_EQ(write(number).code, 0U);
    EXPECT_EQ(count(), 5000U);
    expect_last_keys(5000);
}

// One index entry becomes one for each record, so that replacements need overflow pages, too.
TEST_F(TableMemory, ReplacementsReserveIndexEntries) {
    for (std::uint32_t number = 0; number < 5000; ++number)
        ASSERT_EQ(write(number, 7).code, 0U);
    for (std::uint32_t number = 0; number < 5000; ++number)
        ASSERT_EQ(write(number, number).code, 0U);
    expect_last_keys(5000);
}

TEST_F(TableMemory, FailuresAreReportedAndCounted) {
    memory_.fail_after(0);
    EXPECT_EQ(write(1).code, L2VPN_STORE_NO_MEMORY);
    EXPECT_EQ(count(), 0U);
    L2vpnDbIter *handle = nullptr;
    const CheckedKey key{&table_->indexes()[1], {"12345"}};
    for (const CheckedKey *const by : {static_cast<const CheckedKey *>(nullptr), &key}) {
        Status status{};
        do { // the table's first block has room for some
            handle = nullptr;
            status = table_->open(memory_.allocator(), by, handle);
        } while (status.code == L2VPN_DB_OK);
        EXPECT_EQ(status.code, L2VPN_STORE_NO_MEMORY);
        EXPECT_EQ(status.event, static_cast<std::uint32_t>(L2VPN_STORE_STAT_NO_MEMORY));
        EXPECT_EQ(handle, nullptr);
    }
    memory_.stop_failing();
    EXPECT_EQ(write(1).code, L2VPN_DB_OK);
    EXPECT_EQ(table_->open(memory_.allocator(), &key, handle).code, L2VPN_DB_OK);
    EXPECT_NE(handle, nullptr);
}

// A key is loaded with the bytes after it, which are beyond the slot here, and beyond the mapping
// in its last slot.
TEST(TableMappings, MayEndWithAKey) {
    static constexpr KeyMember at_end[] = {{20, 4}};
    static constexpr KeyLayout only[] = {{at_end, 4}};
    static constexpr TableLayout ends_with_key{"l2vpn_sample", 24, TableLayout::no_field, only};
    const Allocator allocator(nullptr);
    Table *const table = Table::create(allocator, ends_with_key, 7);
    ASSERT_NE(table, nullptr);
    std::array<char, 24> record{};
    for (std::uint32_t number = 0; number < 400'000; ++number) {
        std::memcpy(record.data() + 20, &number, sizeof number);
        ASSERT_EQ(table->write(allocator, record.data()).code, 0U);
        ASSERT_EQ(table->write(allocator, record.data()).event, L2VPN_STORE_STAT_REPLACED);
    }
}

} // namespace
} // namespace l2vpn::platform
