// SPDX-License-Identifier: MIT
// Forced interleavings at the fast iterator's slot: one thread blocks inside the platform until the
// others have run.
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

    /// Pauses the next store call: advances to step 1 and blocks until step 2.
    void hold(Op op) {
        platform().during_call = [this, op](const StoreCall &call) {
            if (call.op == op)
                pause();
        };
    }
    void pause() {
        if (paused.exchange(true))
            return;
        script.advance_to(1);
        script.wait_for(2);
    }

    Script script;
    std::atomic<bool> paused = false;
    const Bytes first = sample_record(expected.record_size, 41);
    const Bytes second = sample_record(expected.record_size, 42);
    const Bytes third = sample_record(expected.record_size, 43);
};

TEST_P(Scripted, ReleaseDuringAnotherThreadsFallback) {
    ASSERT_EQ(table.create_fast_pri_iter(first.data()), fast_handle());
    hold(Op::create_iterator_by_key);
    std::jthread late([&] {
        EXPECT_EQ(table.create_fast_pri_iter(second.data()), store_iterator())
            << "the slot was in use when it checked";
    });
    script.wait_for(1);
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(third.data()), fast_handle());
    script.advance_to(2);
    late.join();
    EXPECT_EQ(slot_key(), key_of(third));
    EXPECT_EQ(block().in_use(), 1);
    expect_key(only_call(Op::create_iterator_by_key).key, 0, second);
}

TEST_P(Scripted, CreateWhileTheOwnerReads) {
    ASSERT_EQ(table.create_fast_pri_iter(first.data()), fast_handle());
    platform().delivered = sample_record(expected.stored_size, 44);
    hold(Op::read);
    Bytes found = first;
    std::jthread owner([&] { EXPECT_EQ(table.get_next(fast_handle(), found.data()), 0U); });
    script.wait_for(1);
    EXPECT_EQ(table.create_fast_pri_iter(second.data()), store_iterator());
    EXPECT_EQ(table.create_iter(0, third.data()), store_iterator());
    EXPECT_EQ(table.release_iter(store_iterator()), 0U);
    EXPECT_EQ(slot_key(), key_of(first));
    EXPECT_EQ(block().delivered(), 1);
    script.advance_to(2);
    owner.join();
    EXPECT_EQ(found, unpacked_record(expected, platform().delivered, first));
    EXPECT_EQ(table.get_next(fast_handle(), found.data()), 60U);
}

TEST_P(Scripted, FirstInitialisationWhileTheSlotIsInUse) {
    ASSERT_EQ(table.create_fast_pri_iter(first.data()), fast_handle());
    hold(Op::read);
    Bytes found = first;
    std::jthread owner([&] { EXPECT_EQ(table.get_next(fast_handle(), found.data()), 0U); });
    script.wait_for(1);
    EXPECT_EQ(table.dal_intf().releaseIter, table.release_iter);
    EXPECT_EQ(block().spin_lock_ready(), 1);
    EXPECT_EQ(block().in_use(), 1);
    EXPECT_EQ(slot_key(), key_of(first));
    EXPECT_EQ(table.create_fast_pri_iter(second.data()), store_iterator());
    script.advance_to(2);
    owner.join();
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(third.data()), fast_handle());
}

// Tables share no state: a call blocked in the store does not block the others.
TEST_P(Scripted, OtherTablesDoNotBlock) {
    const TypedTable &other = typed_tables[&table == &typed_tables[0] ? 1 : 0];
    ASSERT_EQ(table.create_fast_pri_iter(first.data()), fast_handle());
    hold(Op::read);
    std::jthread owner([&] {
        Bytes found = first;
        table.get_next(fast_handle(), found.data());
    });
    script.wait_for(1);
    const Bytes record = sample_record(facts(other.name).record_size, 45);
    auto *const handle = static_cast<L2vpnDbIter *>(other.control_block);
    EXPECT_EQ(other.create_fast_pri_iter(record.data()), handle);
    EXPECT_EQ(other.release_iter(handle), 0U);
    EXPECT_EQ(block().in_use(), 1);
    script.advance_to(2);
    owner.join();
    std::memset(other.control_block, 0, other.control_block_size);
}

L2VPN_TEST_TYPED_TABLES(Scripted, any_table);

/// Tables whose primary key contains a byte string: its memcpy_s call blocks a thread that holds
/// the spin lock.
class ScriptedKeyBuild : public Scripted {
protected:
    void SetUp() override {
        Scripted::SetUp();
        platform().during_copy = [this] { pause(); };
    }
};

TEST_P(ScriptedKeyBuild, CreateAndReleaseWhileAnotherThreadBuildsItsKey) {
    std::jthread builder(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(first.data()), fast_handle()); });
    script.wait_for(1);
    EXPECT_NE(lock_word(), 0U);
    EXPECT_EQ(block().in_use(), 0);
    std::atomic<bool> returned = false;
    std::jthread creator([&] {
        EXPECT_EQ(table.create_fast_pri_iter(second.data()), store_iterator());
        EXPECT_EQ(table.release_iter(fast_handle()), 0U) << "a slot that another thread owns";
        returned = true;
    });
    EXPECT_FALSE(returned);
    script.advance_to(2);
    builder.join();
    creator.join();
    expect_key(only_call(Op::create_iterator_by_key).key, 0, second);
    EXPECT_EQ(slot_key(), key_of(first));
    EXPECT_EQ(block().in_use(), 0);
    EXPECT_EQ(lock_word(), 0U);
}

TEST_P(ScriptedKeyBuild, LaterInitialisationDoesNotChangeTheSpinLock) {
    table.glb_init();
    std::jthread builder(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(first.data()), fast_handle()); });
    script.wait_for(1);
    EXPECT_EQ(table.glb_init(), 0U);
    EXPECT_NE(lock_word(), 0U);
    script.advance_to(2);
    builder.join();
    EXPECT_EQ(slot_key(), key_of(first));
}

// The first initialisation resets the spin lock even while it is held, so two threads can get the
// slot.
TEST_P(ScriptedKeyBuild, FirstInitialisationResetsTheSpinLock) {
    std::jthread builder(
        [&] { EXPECT_EQ(table.create_fast_pri_iter(first.data()), fast_handle()); });
    script.wait_for(1);
    EXPECT_EQ(table.glb_init(), 0U);
    EXPECT_EQ(lock_word(), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(second.data()), fast_handle());
    EXPECT_EQ(slot_key(), key_of(second));
    script.advance_to(2);
    builder.join();
    EXPECT_EQ(block().in_use(), 1);
    EXPECT_EQ(lock_word(), 0U);
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(third.data()), fast_handle()) << "the slot works again";
    EXPECT_EQ(slot_key(), key_of(third));
}

L2VPN_TEST_TYPED_TABLES(ScriptedKeyBuild, [](const Facts &table) {
    return std::ranges::any_of(table.keys.front().members,
                               [](const Field &member) { return member.elements != 1; });
});

} // namespace
} // namespace l2vpn::test
