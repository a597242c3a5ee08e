// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <pthread.h>

#include <algorithm>
#include <cerrno>

namespace l2vpn::test {
namespace {

class ControlBlockLayout : public TypedTableTest {};

TEST_P(ControlBlockLayout, HasItsSize) {
    EXPECT_EQ(table.control_block_size, expected.key_buffer() + 192);
}

TEST_P(ControlBlockLayout, FastIteratorFillsKeyAreaKeyAndRequest) {
    const Bytes record = sample_record(expected.record_size);
    ASSERT_EQ(table.create_fast_pri_iter(record.data()), fast_handle());

    const Key &primary = expected.keys.front();
    EXPECT_EQ(load<std::uint32_t>(block().key_id()), primary.word);
    EXPECT_EQ(Bytes(block().key_id() + 4, block().key_id() + 16), Bytes(12));
    Bytes key = packed_key(primary, record);
    key.resize(expected.key_buffer());
    EXPECT_EQ(Bytes(block().key(), block().key() + expected.key_buffer()), key);

    const std::uint8_t *request = block().request();
    EXPECT_EQ(load<std::uint64_t>(request), reinterpret_cast<std::uintptr_t>(block().key_id()));
    EXPECT_EQ(load<std::uint32_t>(request + 8), 16U);
    EXPECT_EQ(load<std::uint32_t>(request + 12), 0U);
    EXPECT_EQ(load<std::uint64_t>(request + 16), reinterpret_cast<std::uintptr_t>(block().key()));
    EXPECT_EQ(load<std::uint32_t>(request + 24), primary.length);
    EXPECT_EQ(load<std::uint32_t>(request + 28), 0U);
}

TEST_P(ControlBlockLayout, FlagsFollowTheRequest) {
    Bytes record = sample_record(expected.record_size);
    ASSERT_EQ(table.create_fast_pri_iter(record.data()), fast_handle());
    EXPECT_EQ(block().in_use(), 1);
    EXPECT_EQ(block().delivered(), 0);
    EXPECT_EQ(block().spin_lock_ready(), 0);
    for (int calls = 1; calls <= 3; ++calls) {
        table.get_next(fast_handle(), record.data());
        EXPECT_EQ(block().in_use(), 1);
        EXPECT_EQ(block().delivered(), calls);
    }
    table.release_iter(fast_handle());
    EXPECT_EQ(block().in_use(), 0);
    EXPECT_EQ(block().delivered(), 0);
}

TEST_P(ControlBlockLayout, OtherOperationsDoNotChangeIt) {
    Bytes record = sample_record(expected.record_size);
    std::uint32_t count = 0;
    const std::uint32_t id = 0;
    table.write(record.data());
    table.read(record.data());
    table.remove(record.data());
    table.count(&count);
    table.update_fields(record.data(), &id, 1);
    for (const KeyFunctions &key : table.keys) {
        key.create_iter(record.data());
        key.count_by(record.data(), &count);
    }
    table.create_iter(0, nullptr);
    table.get_next(store_iterator(), record.data());
    table.release_iter(store_iterator());
    EXPECT_EQ(Bytes(block().bytes, block().bytes + table.control_block_size),
              Bytes(table.control_block_size));
}

#ifdef __aarch64__

// The block embeds this processor's lock types. A zeroed lock must be a valid, unlocked one.

TEST_P(ControlBlockLayout, ZeroedSpinLockIsAnUnlockedPosixSpinLock) {
    static_assert(sizeof(pthread_spinlock_t) == 4);
    auto *const lock = reinterpret_cast<pthread_spinlock_t *>(block().spin_lock());
    EXPECT_EQ(pthread_spin_trylock(lock), 0);
    EXPECT_EQ(pthread_spin_trylock(lock), EBUSY);
    EXPECT_EQ(pthread_spin_unlock(lock), 0);
    EXPECT_EQ(load<std::uint32_t>(block().spin_lock()), 0U);
}

TEST_P(ControlBlockLayout, ZeroedMutexIsADefaultMutex) {
    static_assert(sizeof(pthread_mutex_t) == 48);
    const pthread_mutex_t initial = PTHREAD_MUTEX_INITIALIZER;
    EXPECT_EQ(std::memcmp(block().mutex(), &initial, sizeof initial), 0);
    EXPECT_EQ(block().mutex() + sizeof initial, block().counter(0));
}

#endif

L2VPN_TEST_TYPED_TABLES(ControlBlockLayout, any_table);

class GlbInit : public TypedTableTest {};

TEST_P(GlbInit, ReturnsZeroAndSetsTheFlag) {
    EXPECT_EQ(table.glb_init(), 0U);
    EXPECT_EQ(block().spin_lock_ready(), 1);
    EXPECT_EQ(table.glb_init(), 0U);
    EXPECT_EQ(block().spin_lock_ready(), 1);
}

TEST_P(GlbInit, ChangesOnlyTheFlag) {
    table.glb_init();
    block().spin_lock_ready() = 0;
    EXPECT_EQ(Bytes(block().bytes, block().bytes + table.control_block_size),
              Bytes(table.control_block_size));
}

TEST_P(GlbInit, InitialisesTheSpinLockOnce) {
    const std::uint32_t mark = 1;
    std::memcpy(block().spin_lock(), &mark, sizeof mark);
    table.glb_init();
    EXPECT_EQ(load<std::uint32_t>(block().spin_lock()), 0U) << "the first call initialises";
    std::memcpy(block().spin_lock(), &mark, sizeof mark);
    table.glb_init();
    table.dal_intf();
    EXPECT_EQ(load<std::uint32_t>(block().spin_lock()), mark) << "later calls do not";
}

TEST_P(GlbInit, RunsOnEveryFetchOfTheInterfaceTable) {
    table.dal_intf();
    EXPECT_EQ(block().spin_lock_ready(), 1);
    block().spin_lock_ready() = 0;
    table.dal_intf();
    EXPECT_EQ(block().spin_lock_ready(), 1);
}

TEST_P(GlbInit, DoesNotChangeSlotAndCounters) {
    const Bytes record = sample_record(expected.record_size);
    table.create_fast_pri_iter(record.data());
    table.stat(3, 33);
    table.glb_init();
    EXPECT_EQ(block().in_use(), 1);
    EXPECT_EQ(table.get_stat(3), 33U);
    EXPECT_EQ(Bytes(block().key(), block().key() + expected.keys[0].length),
              packed_key(expected.keys[0], record));
}

L2VPN_TEST_TYPED_TABLES(GlbInit, any_table);

class Statistics : public TypedTableTest {};

TEST_P(Statistics, CountersEndTheBlockInIdentifierOrder) {
    for (std::uint32_t stat_id = 0; stat_id < 22; ++stat_id) {
        EXPECT_EQ(table.get_stat(stat_id), 0U);
        table.stat(stat_id, 1000 + stat_id);
    }
    for (std::uint32_t stat_id = 0; stat_id < 22; ++stat_id) {
        EXPECT_EQ(load<std::uint32_t>(block().counter(stat_id)), 1000 + stat_id);
        EXPECT_EQ(table.get_stat(stat_id), 1000 + stat_id);
    }
    EXPECT_EQ(block().counter(22), block().bytes + table.control_block_size);
}

TEST_P(Statistics, ReadsTheCounterInTheBlock) {
    for (std::uint32_t stat_id = 0; stat_id < 22; ++stat_id) {
        const std::uint32_t value = 0xA0000000 + stat_id;
        std::memcpy(block().counter(stat_id), &value, sizeof value);
        EXPECT_EQ(table.get_stat(stat_id), value);
    }
}

TEST_P(Statistics, AddsThroughThePlatform) {
    table.stat(7, 5);
    table.stat(7, 0);
    table.stat(21, 0xFFFFFFFF);
    ASSERT_EQ(platform().adds.size(), 3U);
    const std::array<std::pair<std::uint32_t, std::uint32_t>, 3> adds{
        {{7, 5}, {7, 0}, {21, 0xFFFFFFFF}}};
    for (std::size_t i = 0; i < adds.size(); ++i) {
        EXPECT_EQ(static_cast<void *>(platform().adds[i].counter),
                  static_cast<void *>(block().counter(adds[i].first)));
        EXPECT_EQ(platform().adds[i].amount, adds[i].second);
    }
}

TEST_P(Statistics, AccumulateAndWrapAt32Bits) {
    table.stat(0, 0xFFFFFFFF);
    EXPECT_EQ(table.get_stat(0), 0xFFFFFFFF);
    table.stat(0, 1);
    EXPECT_EQ(table.get_stat(0), 0U);
    table.stat(0, 0x80000001);
    table.stat(0, 0x80000001);
    EXPECT_EQ(table.get_stat(0), 2U);
    EXPECT_EQ(table.get_stat(1), 0U);
}

TEST_P(Statistics, IdentifiersFrom22AreIgnoredAndReadAsZero) {
    for (std::uint32_t stat_id = 0; stat_id < 22; ++stat_id) {
        table.stat(stat_id, stat_id + 1);
    }
    platform().adds.clear();
    for (const std::uint32_t stat_id : {22U, 23U, 100U, 0x40000000U, 0x80000000U, 0xFFFFFFFFU}) {
        for (const std::uint32_t amount : {0U, 1U, 0xFFFFFFFFU}) {
            table.stat(stat_id, amount);
        }
        EXPECT_EQ(table.get_stat(stat_id), 0U) << stat_id;
    }
    EXPECT_TRUE(platform().adds.empty());
    for (std::uint32_t stat_id = 0; stat_id < 22; ++stat_id) {
        EXPECT_EQ(table.get_stat(stat_id), stat_id + 1);
    }
}

// The word after the counters is padding between two blocks, which AddressSanitizer poisons.
[[gnu::no_sanitize_address]] void swap_word(std::uint8_t *at, std::uint32_t &word) {
    for (std::size_t i = 0; i < sizeof word; ++i) {
        const std::uint8_t byte = at[i];
        at[i] = static_cast<std::uint8_t>(word >> 8 * i);
        word = (word & ~(0xFFU << 8 * i)) | std::uint32_t{byte} << 8 * i;
    }
}

TEST_P(Statistics, Identifier22DoesNotReadPastTheCounters) {
    std::uint8_t *const end = block().counter(22);
    const bool between_blocks = std::ranges::any_of(typed_tables, [&](const TypedTable &other) {
        const auto *start = static_cast<std::uint8_t *>(other.control_block);
        return start >= end && start <= end + 64;
    });
    if (between_blocks) { // the last block may be followed by unmapped memory
        std::uint32_t word = 0x12345678;
        swap_word(end, word);
        EXPECT_EQ(table.get_stat(22), 0U);
        swap_word(end, word);
        EXPECT_EQ(word, 0x12345678U);
    }
}

TEST_P(Statistics, AreSeparateForEachTable) {
    table.stat(4, 44);
    for (const TypedTable &other : typed_tables) {
        EXPECT_EQ(other.get_stat(4), other.name == table.name ? 44U : 0U) << other.name;
    }
}

L2VPN_TEST_TYPED_TABLES(Statistics, any_table);

} // namespace
} // namespace l2vpn::test
