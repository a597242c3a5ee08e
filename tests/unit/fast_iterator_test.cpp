// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

namespace l2vpn::test {
namespace {

class FastIterator : public TypedTableTest {
protected:
    void SetUp() override {
        TypedTableTest::SetUp();
        platform().iterator = store_iterator();
    }

    const Bytes record = sample_record(expected.record_size, 9);
    Bytes buffer = Bytes(expected.record_size, 0xA5);
};

TEST_P(FastIterator, CreateTakesTheFreeSlotWithoutAStoreCall) {
    EXPECT_EQ(table.create_fast_pri_iter(record.data()), fast_handle());
    EXPECT_EQ(block().in_use(), 1);
    EXPECT_EQ(block().delivered(), 0);
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(FastIterator, SecondCreateFallsBackToTheStoreWithTheSameKey) {
    table.create_fast_pri_iter(record.data());
    dirty_stack();
    EXPECT_EQ(table.create_fast_pri_iter(record.data()), store_iterator());
    expect_key(only_call(Op::create_iterator_by_key).key, 0, record);
    EXPECT_EQ(block().in_use(), 1);
}

TEST_P(FastIterator, FallbackDoesNotChangeTheSlot) {
    table.create_fast_pri_iter(record.data());
    table.get_next(fast_handle(), buffer.data());
    const Bytes before(block().bytes, block().bytes + table.control_block_size);
    const Bytes other = sample_record(expected.record_size, 10);
    table.create_fast_pri_iter(other.data());
    EXPECT_EQ(Bytes(block().bytes, block().bytes + table.control_block_size), before);
    expect_key(platform().calls.back().key, 0, other);
}

TEST_P(FastIterator, TwoIteratorsWithOneKeyAreIndependent) {
    L2vpnDbIter *first = table.create_fast_pri_iter(record.data());
    L2vpnDbIter *second = table.create_fast_pri_iter(record.data());
    ASSERT_EQ(first, fast_handle());
    ASSERT_EQ(second, store_iterator());
    const Bytes first_key = packed_key(expected.keys[0], record);
    EXPECT_EQ(platform().calls[0].key->value, first_key);

    platform().delivered = sample_record(expected.stored_size, 11);
    EXPECT_EQ(table.get_next(first, buffer.data()), 0U);
    EXPECT_EQ(table.get_next(second, buffer.data()), 0U);
    ASSERT_EQ(platform().calls.size(), 3U);
    EXPECT_EQ(platform().calls[1].op, Op::read);
    EXPECT_EQ(platform().calls[1].key->value, first_key);
    EXPECT_EQ(platform().calls[2].op, Op::get_next_entry);
    EXPECT_EQ(platform().calls[2].iterator, second);

    EXPECT_EQ(table.release_iter(second), 0U);
    EXPECT_EQ(platform().calls.back().op, Op::release_iterator);
    EXPECT_EQ(block().in_use(), 1) << "releasing the store's iterator does not free the slot";
    EXPECT_EQ(table.release_iter(first), 0U);
    EXPECT_EQ(block().in_use(), 0);
}

TEST_P(FastIterator, FirstGetNextReadsWithTheSlotsRequest) {
    table.create_fast_pri_iter(record.data());
    platform().delivered = sample_record(expected.stored_size, 12);
    dirty_stack();
    EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 0U);
    const StoreCall call = only_call(Op::read);
    expect_key(call.key, 0, record);
    expect_empty_record(call.record);
    EXPECT_EQ(static_cast<const void *>(call.key->address), block().request());
    EXPECT_EQ(static_cast<const void *>(call.key->request.keyId), block().key_id());
    EXPECT_EQ(call.key->request.key, block().key());
    EXPECT_EQ(buffer,
              unpacked_record(expected, platform().delivered, Bytes(expected.record_size, 0xA5)));
}

TEST_P(FastIterator, SecondGetNextEndsWithoutAStoreCall) {
    table.create_fast_pri_iter(record.data());
    platform().delivered = sample_record(expected.stored_size, 12);
    table.get_next(fast_handle(), buffer.data());
    platform().calls.clear();
    buffer = record;
    EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 60U);
    EXPECT_EQ(buffer, record);
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(FastIterator, DeliveredCountWrapsSoThatCall257ReadsAgain) {
    table.create_fast_pri_iter(record.data());
    platform().result = 7;
    for (int round = 0; round < 2; ++round) {
        platform().calls.clear();
        EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 7U);
        expect_key(only_call(Op::read).key, 0, record);
        for (int call = 2; call <= 256; ++call) {
            ASSERT_EQ(table.get_next(fast_handle(), buffer.data()), 60U) << "call " << call;
        }
        EXPECT_EQ(platform().calls.size(), 1U);
        EXPECT_EQ(block().delivered(), 0);
        EXPECT_EQ(block().in_use(), 1) << "the wrap does not overflow into the flag";
    }
}

TEST_P(FastIterator, NullHandleOrRecordIsRejectedAndNotCounted) {
    table.create_fast_pri_iter(record.data());
    EXPECT_EQ(table.get_next(fast_handle(), nullptr), 1U);
    EXPECT_EQ(table.get_next(nullptr, buffer.data()), 1U);
    EXPECT_EQ(table.get_next(nullptr, nullptr), 1U);
    EXPECT_EQ(table.get_next(store_iterator(), nullptr), 1U);
    EXPECT_EQ(block().delivered(), 0);
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(FastIterator, ReleaseFreesTheSlotForTheNextCreate) {
    const Bytes other = sample_record(expected.record_size, 13);
    table.create_fast_pri_iter(record.data());
    table.get_next(fast_handle(), buffer.data());
    platform().calls.clear();
    platform().result = 9;
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_EQ(block().in_use(), 0);
    EXPECT_EQ(block().delivered(), 0);

    EXPECT_EQ(table.create_fast_pri_iter(other.data()), fast_handle());
    table.get_next(fast_handle(), buffer.data());
    expect_key(only_call(Op::read).key, 0, other);
}

TEST_P(FastIterator, ReleaseKeepsTheKey) {
    table.create_fast_pri_iter(record.data());
    Bytes before(block().bytes, block().request() + 32);
    table.release_iter(fast_handle());
    EXPECT_EQ(Bytes(block().bytes, block().request() + 32), before);
}

TEST_P(FastIterator, GetNextAfterReleaseReadsWithTheOldKey) {
    table.create_fast_pri_iter(record.data());
    table.get_next(fast_handle(), buffer.data());
    table.release_iter(fast_handle());
    platform().calls.clear();
    platform().result = 7;
    EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 7U);
    expect_key(only_call(Op::read).key, 0, record);
}

TEST_P(FastIterator, ReleaseOfAFreeSlotLeavesItFree) {
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(block().in_use(), 0);
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(FastIterator, ReleaseAndCreateResetTheCountOfAFreeSlot) {
    table.create_fast_pri_iter(record.data());
    table.release_iter(fast_handle());
    for (const bool created : {false, true}) {
        EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 0U);
        EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 60U);
        if (created) {
            EXPECT_EQ(table.create_fast_pri_iter(record.data()), fast_handle());
        } else {
            EXPECT_EQ(table.release_iter(fast_handle()), 0U);
        }
        EXPECT_EQ(block().delivered(), 0);
        platform().calls.clear();
        EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 0U);
        expect_key(only_call(Op::read).key, 0, record);
        EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    }
}

TEST_P(FastIterator, NullRecordIsRejectedWhileTheSlotIsInUse) {
    table.create_fast_pri_iter(record.data());
    const Bytes before(block().bytes, block().bytes + table.control_block_size);
    EXPECT_EQ(table.create_fast_pri_iter(nullptr), nullptr);
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_EQ(Bytes(block().bytes, block().bytes + table.control_block_size), before);
}

TEST_P(FastIterator, SpinLockIsNotHeldDuringStoreCalls) {
    bool free = true;
    platform().during_call = [&](const StoreCall &) {
        free = free && load<std::uint32_t>(block().spin_lock()) == 0;
    };
    table.create_fast_pri_iter(record.data());
    table.create_fast_pri_iter(record.data());
    table.get_next(fast_handle(), buffer.data());
    table.release_iter(store_iterator());
    EXPECT_EQ(platform().calls.size(), 3U);
    EXPECT_TRUE(free);
    table.release_iter(fast_handle());
    EXPECT_EQ(load<std::uint32_t>(block().spin_lock()), 0U);
}

TEST_P(FastIterator, GetNextDoesNotTakeTheSpinLock) {
    table.create_fast_pri_iter(record.data());
    const std::uint32_t locked = 1;
    std::memcpy(block().spin_lock(), &locked, sizeof locked);
    EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 0U);
    EXPECT_EQ(table.get_next(fast_handle(), buffer.data()), 60U);
}

TEST_P(FastIterator, EachTableHasItsOwnSlot) {
    table.create_fast_pri_iter(record.data());
    for (const TypedTable &other : typed_tables) {
        if (other.name == table.name) {
            continue;
        }
        // Another table's control block is not a fast handle of this table: the store gets it.
        auto *foreign = static_cast<L2vpnDbIter *>(other.control_block);
        platform().calls.clear();
        table.get_next(foreign, buffer.data());
        EXPECT_EQ(only_call(Op::get_next_entry).iterator, foreign);
        platform().calls.clear();
        table.release_iter(foreign);
        EXPECT_EQ(only_call(Op::release_iterator).iterator, foreign);
    }
    EXPECT_EQ(block().in_use(), 1);
}

TEST_P(FastIterator, ByteStringsOfTheKeyAreCopiedIntoTheSlot) {
    table.create_fast_pri_iter(record.data());
    std::uint32_t at = 0;
    std::size_t calls = 0;
    for (const Field &member : expected.keys[0].members) {
        if (member.elements != 1) {
            ASSERT_LT(calls, platform().copies.size());
            EXPECT_EQ(platform().copies[calls++].destination, block().key() + at);
        }
        at += member.width;
    }
    EXPECT_EQ(platform().copies.size(), calls);
}

L2VPN_TEST_TYPED_TABLES(FastIterator, any_table);

class FastIteratorNullTest : public FastIterator {};

TEST_P(FastIteratorNullTest, NullRecordIsRejectedWithoutTakingTheSpinLock) {
    const std::uint32_t locked = 1;
    std::memcpy(block().spin_lock(), &locked, sizeof locked);
    EXPECT_EQ(table.create_fast_pri_iter(nullptr), nullptr);
    EXPECT_EQ(load<std::uint32_t>(block().spin_lock()), locked);
    EXPECT_EQ(block().in_use(), 0);
    EXPECT_TRUE(platform().calls.empty());
}

L2VPN_TEST_TYPED_TABLES(FastIteratorNullTest, has_null_tests);

/// Tables without null tests dereference a null record. Only for keys that start with an integer:
/// memcpy_s rejects the null source of a byte string.
class MissingNullTestDeathTest : public TypedTableTest {};

TEST_P(MissingNullTestDeathTest, CreateFastPriIterFaultsWhileTheSlotIsFree) {
    EXPECT_DEATH(table.create_fast_pri_iter(nullptr), "");
}

TEST_P(MissingNullTestDeathTest, UpdateFieldsFaults) {
    const std::uint32_t id = 0;
    EXPECT_DEATH(table.update_fields(nullptr, &id, 1), "");
    EXPECT_DEATH(table.update_field(nullptr, id), "");
}

L2VPN_TEST_TYPED_TABLES(MissingNullTestDeathTest, [](const Facts &table) {
    return lacks_null_tests(table) && table.keys.front().members.front().elements == 1;
});

class MissingSetterNullTestDeathTest : public TypedTableTest {};

TEST_P(MissingSetterNullTestDeathTest, SetterFaultsWithoutRecord) {
    const std::uint32_t id = expected.find("batchVersion")->id;
    const L2vpnDbRecData request{};
    EXPECT_DEATH(table.set_fields(&request, nullptr, &id, 1), "");
}

L2VPN_TEST_TYPED_TABLES(MissingSetterNullTestDeathTest, [](const Facts &table) {
    return lacks_null_tests(table) && is_updatable(table);
});

} // namespace
} // namespace l2vpn::test
