// SPDX-License-Identifier: MIT
// Threads that meet at the fast iterator's slot, in an order that is forced: one of them waits
// inside the platform until the others have done their part.
#include "tests/support/script.h"
#include "tests/support/table_test.h"

#include <algorithm>
#include <atomic>

namespace l2vpn::test {
namespace {

class Scripted : public TypedTableTest {
protected:
    void SetUp() override {
        TypedTableTest::SetUp();
        platform().iterator = store_iterator();
    }

    [[nodiscard]] Bytes slot_key() const {
        return {block().key(), block().key() + expected.keys[0].length};
    }
    [[nodiscard]] Bytes key_of(const Bytes &record) const {
        return packed_key(expected.keys[0], record);
    }
    [[nodiscard]] std::uint32_t lock_word() const {
        return std::atomic_ref(*reinterpret_cast<std::uint32_t *>(block().spin_lock()));
    }

    /// Step 1 is over when the call has come, and the call goes on after step 2.
    void hold(Op op) {
        platform().during_call = [this, op](const StoreCall &call) {
            if (call.op == op)
                meet();
        };
    }
    void meet() {
        if (met.exchange(true))
            return;
        script.over(1);
        script.wait_for(2);
    }

    Script script;
    std::atomic<bool> met = false;
    const Bytes first = sample_record(expected.record_size, 41);
    const Bytes second = sample_record(expected.record_size, 42);
    const Bytes third = sample_record(expected.record_size, 43);
};

TEST_P(Scripted, ReleaseWhileAnotherCreationFallsBack) {
    ASSERT_EQ(table.create_fast_pri_iter(first.data()), fast_handle());
    hold(Op::create_iterator_by_key);
    std::jthread late([&] {
        EXPECT_EQ(table.create_fast_pri_iter(second.data()), store_iterator())
            << "the slot was taken when it looked";
    });
    script.wait_for(1);
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(third.data()), fast_handle());
    script.over(2);
    late.join();
    EXPECT_EQ(slot_key(), key_of(third));
    EXPECT_EQ(block().in_use(), 1);
    expect_key(only_call(Op::create_iterator_by_key).key, 0, second);
}

TEST_P(Scripted, CreationsWhileTheHolderReads) {
    ASSERT_EQ(table.create_fast_pri_iter(first.data()), fast_handle());
    platform().delivered = sample_record(expected.stored_size, 44);
    hold(Op::read);
    Bytes found = first;
    std::jthread holder([&] { EXPECT_EQ(table.get_next(fast_handle(), found.data()), 0U); });
    script.wait_for(1);
    EXPECT_EQ(table.create_fast_pri_iter(second.data()), store_iterator());
    EXPECT_EQ(table.create_iter(0, third.data()), store_iterator());
    EXPECT_EQ(table.release_iter(store_iterator()), 0U);
    EXPECT_EQ(slot_key(), key_of(first));
    EXPECT_EQ(block().delivered(), 1);
    script.over(2);
    holder.join();
    EXPECT_EQ(found, unpacked_record(expected, platform().delivered, first));
    EXPECT_EQ(table.get_next(fast_handle(), found.data()), 60U);
}

TEST_P(Scripted, FirstInitialisationWhileTheSlotIsHandedOut) {
    ASSERT_EQ(table.create_fast_pri_iter(first.data()), fast_handle());
    hold(Op::read);
    Bytes found = first;
    std::jthread holder([&] { EXPECT_EQ(table.get_next(fast_handle(), found.data()), 0U); });
    script.wait_for(1);
    EXPECT_EQ(table.dal_intf().releaseIter, table.release_iter);
    EXPECT_EQ(block().spin_lock_ready(), 1);
    EXPECT_EQ(block().in_use(), 1);
    EXPECT_EQ(slot_key(), key_of(first));
    EXPECT_EQ(table.create_fast_pri_iter(second.data()), store_iterator());
    script.over(2);
    holder.join();
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(third.data()), fast_handle());
}

// Records of other tables, while one waits in the store: they share nothing.
TEST_P(Scripted, OtherTablesDoNotWait) {
    const TypedTable &other = typed_tables[&table == &typed_tables[0] ? 1 : 0];
    ASSERT_EQ(table.create_fast_pri_iter(first.data()), fast_handle());
    hold(Op::read);
    std::jthread holder([&] {
        Bytes found = first;
        table.get_next(fast_handle(), found.data());
    });
    script.wait_for(1);
    const Bytes record = sample_record(facts(other.name).record_size, 45);
    auto *const handle = static_cast<L2vpnDbIter *>(other.control_block);
    EXPECT_EQ(other.create_fast_pri_iter(record.data()), handle);
    EXPECT_EQ(other.release_iter(handle), 0U);
    EXPECT_EQ(block().in_use(), 1);
    script.over(2);
    holder.join();
    std::memset(other.control_block, 0, other.control_block_size);
}

L2VPN_TEST_TYPED_TABLES(Scripted, any_table);

/// Tables whose primary key holds a byte string: a creation can be held while it has the lock.
class ScriptedKeyBuild : public Scripted {
protected:
    void SetUp() override {
        Scripted::SetUp();
        platform().during_copy = [this] { meet(); };
    }
};

TEST_P(ScriptedKeyBuild, CreationAndReleaseWhileAnotherBuildsItsKey) {
    std::jthread builder(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(first.data()), fast_handle()); });
    script.wait_for(1);
    EXPECT_NE(lock_word(), 0U);
    EXPECT_EQ(block().in_use(), 0);
    std::atomic<bool> returned = false;
    std::jthread creator([&] {
        EXPECT_EQ(table.create_fast_pri_iter(second.data()), store_iterator());
        EXPECT_EQ(table.release_iter(fast_handle()), 0U) << "of a slot that is another's";
        returned = true;
    });
    EXPECT_FALSE(returned);
    script.over(2);
    builder.join();
    creator.join();
    expect_key(only_call(Op::create_iterator_by_key).key, 0, second);
    EXPECT_EQ(slot_key(), key_of(first));
    EXPECT_EQ(block().in_use(), 0);
    EXPECT_EQ(lock_word(), 0U);
}

TEST_P(ScriptedKeyBuild, LaterInitialisationLeavesTheLockAlone) {
    table.glb_init();
    std::jthread builder(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(first.data()), fast_handle()); });
    script.wait_for(1);
    EXPECT_EQ(table.glb_init(), 0U);
    EXPECT_NE(lock_word(), 0U);
    script.over(2);
    builder.join();
    EXPECT_EQ(slot_key(), key_of(first));
}

// The first initialisation does not wait for the lock and leaves it open: a second creation comes
// in, and both have the slot.
TEST_P(ScriptedKeyBuild, FirstInitialisationOpensTheLock) {
    std::jthread builder(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(first.data()), fast_handle()); });
    script.wait_for(1);
    EXPECT_EQ(table.glb_init(), 0U);
    EXPECT_EQ(lock_word(), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(second.data()), fast_handle());
    EXPECT_EQ(slot_key(), key_of(second));
    script.over(2);
    builder.join();
    EXPECT_EQ(block().in_use(), 1);
    EXPECT_EQ(lock_word(), 0U);
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(third.data()), fast_handle()) << "all is well again";
    EXPECT_EQ(slot_key(), key_of(third));
}

L2VPN_TEST_TYPED_TABLES(ScriptedKeyBuild, [](const Facts &table) {
    return std::ranges::any_of(table.keys.front().members,
                               [](const Field &member) { return member.elements != 1; });
});

} // namespace
} // namespace l2vpn::test
