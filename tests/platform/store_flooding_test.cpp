// SPDX-License-Identifier: MIT
// Key values of one hash. The hash has random keys; this program makes them 0, so that all values
// collide that differ in every second 32-bit word only.
#include <algorithm>
#include <atomic>

#include <sys/random.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

enum class Randomness : std::uint8_t { real, zero, none };
std::atomic<Randomness> randomness = Randomness::real;
std::atomic<std::size_t> random_bytes = 0;

} // namespace
} // namespace l2vpn::test

/// Replaces the C library's function in the whole process.
extern "C" ssize_t getrandom(void *buffer, std::size_t size, unsigned flags) {
    using namespace l2vpn::test;
    if (randomness == Randomness::real)
        return syscall(SYS_getrandom, buffer, size, flags);
    if (randomness == Randomness::none) {
        errno = ENOSYS;
        return -1;
    }
    std::memset(buffer, 0, size);
    random_bytes += size;
    return static_cast<ssize_t>(size);
}

namespace l2vpn::test {
namespace {

/// Whether it is the first table with a primary key of this shape, and the key's first member has
/// enough values.
bool has_new_shape(const Facts &table) {
    const auto same_shape = [&](const std::string &name) {
        return std::ranges::equal(facts(name).keys[0].members, table.keys[0].members, {},
                                  &Field::width, &Field::width);
    };
    return table.keys[0].members[0].width >= sizeof(std::uint32_t) &&
           *std::ranges::find_if(typed_table_names(), same_shape) == table.name;
}

#ifndef __SANITIZE_THREAD__
/// Whether it is the table with the most keys among these.
bool has_most_keys(const Facts &table) {
    std::vector<const TypedTable *> tables = tables_with(typed_tables, has_new_shape);
    return table.name == (*std::ranges::max_element(tables, {}, [](const TypedTable *candidate) {
                             return facts(candidate->name).keys.size();
                         }))->name;
}
#endif

/// Runs in a separate process, in which the table is unused.
class FreshStoreFlooding : public StoreTest {
protected:
    void SetUp() override {
        if (is_used(table_))
            GTEST_SKIP() << "the table has its random keys";
        randomness = Randomness::zero;
        register_memory_service();
    }
    void TearDown() override {
        randomness = Randomness::real;
        if (!IsSkipped())
            StoreTest::TearDown();
    }

    /// Each key's first member is the number, or its lower bytes; all other bytes are `rest`. For
    /// rest 0, all records have one hash.
    [[nodiscard]] Bytes numbered(std::uint32_t number, std::uint8_t rest) const {
        Bytes stored(facts_.stored_size, rest);
        for (const Key &key : facts_.keys) {
            const Field &member = key.members[0];
            std::fill_n(stored.begin() + member.stored_offset, member.width, std::uint8_t{0});
            std::memcpy(stored.data() + member.stored_offset, &number,
                        std::min<std::size_t>(member.width, sizeof number));
        }
        return stored;
    }

    void flood(std::uint32_t records) {
        const Key &key = facts_.keys[0];
        const std::size_t held = bytes_held();
        for (std::uint32_t i = 0; i < records; ++i)
            ASSERT_EQ(raw_write(numbered(i, 0)), 0U) << i;
        EXPECT_GT(random_bytes, 0U) << "the hash has no random keys";
        // The slots, an entry per key, and a block in reserve.
        const std::size_t slot = facts_.stored_size + 16 * facts_.keys.size() + 8;
        EXPECT_LT(bytes_held() - held,
                  records * (slot + 64 * facts_.keys.size()) * 9 / 8 + (std::size_t{1} << 19));

        EXPECT_EQ(raw_count(), records);
        for (std::uint32_t i = 0; i < records; i += records / 50) {
            const Bytes stored = numbered(i, 0);
            EXPECT_EQ(raw_read(key, stored), stored);
            EXPECT_EQ(count(key, unpacked(stored)), 1U);
            EXPECT_EQ(rest_of(open(key, unpacked(stored))), std::vector<Bytes>{stored});
        }
        EXPECT_EQ(raw_read(key, numbered(records, 0)), std::nullopt);
        EXPECT_EQ(raw_remove(numbered(records, 0)), L2VPN_STORE_NOT_FOUND);
        std::vector<Bytes> delivered = rest_of(open());
        EXPECT_EQ(delivered.size(), records);
        std::ranges::sort(delivered);
        EXPECT_EQ(std::ranges::adjacent_find(delivered), delivered.end());

        // A record with another hash.
        const Bytes other = numbered(records, 0xA5);
        EXPECT_EQ(raw_write(other), 0U);
        EXPECT_EQ(raw_read(key, other), other);
        EXPECT_EQ(raw_remove(other), 0U);

        for (std::uint32_t i = 0; i < records; i += 2)
            ASSERT_EQ(raw_update(numbered(i, 0), [](L2vpnDbRecObj *) { return 0U; }), 0U) << i;
        for (std::uint32_t i = 0; i < records; i += 2)
            ASSERT_EQ(raw_remove(numbered(i, 0)), 0U) << i;
        EXPECT_EQ(raw_count(), records / 2);
        const std::size_t full = bytes_held();
        for (std::uint32_t i = 0; i < records; i += records / 50)
            EXPECT_EQ(raw_read(key, numbered(i, 0)).has_value(), i % 2 == 1) << i;
        for (std::uint32_t i = 0; i < records; i += 2)
            ASSERT_EQ(raw_write(numbered(i, 0)), 0U) << i;
        EXPECT_EQ(bytes_held(), full) << "the memory of deleted records is reused";
        EXPECT_EQ(raw_count(), records);
        for (std::uint32_t i = 0; i < records; ++i)
            ASSERT_EQ(raw_remove(numbered(i, 0)), 0U) << i;
    }
};
L2VPN_TEST_TYPED_TABLES(FreshStoreFlooding, has_new_shape);

TEST_P(FreshStoreFlooding, RecordsOfOneHash) {
    flood(2000);
}

#ifndef __SANITIZE_THREAD__ // takes minutes: each write compares all records
class FreshStoreFlood : public FreshStoreFlooding {};
L2VPN_TEST_TYPED_TABLES(FreshStoreFlood, has_most_keys);

TEST_P(FreshStoreFlood, TenThousandRecordsOfOneHash) {
    flood(10000);
}
#endif

TEST_P(FreshStoreFlooding, WithoutRandomnessTheStoreWorks) {
    randomness = Randomness::none;
    for (std::uint32_t i = 0; i < 300; ++i)
        ASSERT_EQ(raw_write(numbered(i, 0)), 0U) << i;
    EXPECT_EQ(rest_of(open()).size(), 300U);
}

} // namespace
} // namespace l2vpn::test
