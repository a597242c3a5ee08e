// SPDX-License-Identifier: MIT
// Iterators: the delivered records, also while the table changes, and invalid handles.
#include <algorithm>
#include <set>

#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class StoreIterators : public StoreTest {
protected:
    /// Writes records with distinct primary keys and shared secondary key values.
    std::set<Bytes> fill(std::size_t records) {
        std::mt19937 random(11);
        while (count() < records) {
            Bytes chosen = random_record(random);
            for (const Field &member : facts_.keys[0].members) {
                chosen[member.offset] = static_cast<std::uint8_t>(random());
            }
            if (read(facts_.keys[0], chosen) == std::nullopt) {
                EXPECT_EQ(write(chosen), 0U);
                held_.insert(packed(chosen));
            }
        }
        return held_;
    }

    static std::set<Bytes> as_set(const std::vector<Bytes> &records) {
        std::set<Bytes> result(records.begin(), records.end());
        EXPECT_EQ(result.size(), records.size()) << "delivered twice";
        return result;
    }

    /// Checks iterators over the whole table and over each key value of the record.
    template <class Check>
    void for_each_iteration(const Bytes &caller, Check check) {
        check(nullptr, [&] { return open(); });
        for (const Key &key : facts_.keys) {
            check(&key, [&] { return open(key, caller); });
        }
    }

    [[nodiscard]] std::set<Bytes> under(const Key *key, const Bytes &caller) const {
        std::set<Bytes> result;
        for (const Bytes &stored : held_) {
            if (key == nullptr || packed_key(*key, unpacked(stored)) == packed_key(*key, caller)) {
                result.insert(stored);
            }
        }
        return result;
    }

    std::set<Bytes> held_;
};
L2VPN_TEST_TYPED_TABLES(StoreIterators, any_table);

TEST_P(StoreIterators, DeliverEveryRecordOnceInAStableOrder) {
    fill(40);
    const Bytes caller = unpacked(*held_.begin());
    for_each_iteration(caller, [&](const Key *key, auto opened) {
        const std::vector<Bytes> delivered = rest_of(opened());
        EXPECT_EQ(as_set(delivered), under(key, caller));
        EXPECT_EQ(rest_of(opened()), delivered);
    });
}

TEST_P(StoreIterators, OverNoRecordsEndImmediately) {
    for_each_iteration(record(1), [&](const Key *, auto opened) {
        L2vpnDbIter *const iterator = opened();
        EXPECT_EQ(counting(L2VPN_STORE_STAT_ITER_ENDED, [&] { return next(iterator); }),
                  std::nullopt);
        EXPECT_EQ(rest_of(iterator), std::vector<Bytes>{});
    });
}

TEST_P(StoreIterators, StayEnded) {
    const Bytes held = record(1);
    const Bytes added = record(2);
    ASSERT_EQ(write(held), 0U);
    for (const Bytes &later : {added, held}) {
        L2vpnDbIter *const iterator = open();
        while (next(iterator)) {
        }
        ASSERT_EQ(remove(held), 0U);
        ASSERT_EQ(write(later), 0U);
        EXPECT_EQ(next(iterator), std::nullopt);
        EXPECT_EQ(release(iterator), 0U);
        ASSERT_EQ(write(held), 0U);
    }
}

TEST_P(StoreIterators, AreIndependent) {
    fill(10);
    L2vpnDbIter *const one = open();
    L2vpnDbIter *const other = open();
    EXPECT_NE(one, other);
    EXPECT_EQ(next(one), next(other));
    EXPECT_EQ(counting(L2VPN_STORE_STAT_DELIVERED, [&] { return next(one); }), next(other));
    EXPECT_EQ(rest_of(one).size(), 8U);
    EXPECT_EQ(rest_of(other).size(), 8U);
}

TEST_P(StoreIterators, SurviveTheDeletionOfDeliveredRecords) {
    fill(30);
    const Bytes caller = unpacked(*held_.begin());
    for_each_iteration(caller, [&](const Key *key, auto opened) {
        L2vpnDbIter *const iterator = opened();
        std::vector<Bytes> delivered;
        while (const auto stored = next(iterator)) {
            delivered.push_back(*stored);
            EXPECT_EQ(remove(unpacked(*stored)), 0U);
        }
        EXPECT_EQ(release(iterator), 0U);
        EXPECT_EQ(as_set(delivered), under(key, caller));
        for (const Bytes &stored : delivered) {
            EXPECT_EQ(write(unpacked(stored)), 0U);
        }
    });
}

TEST_P(StoreIterators, SkipDeletedRecords) {
    fill(20);
    L2vpnDbIter *const iterator = open();
    const auto first = next(iterator);
    ASSERT_TRUE(first);
    std::set<Bytes> expected;
    for (const Bytes &stored : held_) {
        if (stored != *first && expected.size() < 5) {
            expected.insert(stored);
        } else {
            EXPECT_EQ(remove(unpacked(stored)), 0U);
        }
    }
    EXPECT_EQ(as_set(rest_of(iterator)), expected);
}

TEST_P(StoreIterators, DeliverAllRemainingRecordsDuringChanges) {
    fill(60);
    std::vector<Bytes> kept;
    std::vector<Bytes> toggled;
    for (const Bytes &stored : held_) {
        (kept.size() > toggled.size() ? toggled : kept).push_back(stored);
    }
    std::mt19937 random(3);
    std::set<Bytes> delivered;
    L2vpnDbIter *const iterator = open();
    while (const auto stored = next(iterator)) {
        EXPECT_TRUE(delivered.insert(*stored).second);
        const Bytes &changed = toggled[random() % toggled.size()];
        if (remove(unpacked(changed)) != 0) {
            EXPECT_EQ(write(unpacked(changed)), 0U);
        }
        EXPECT_EQ(write(unpacked(kept[random() % kept.size()])), 0U);
        if (delivered.size() > 1000) {
            FAIL() << "no end";
        }
    }
    EXPECT_EQ(release(iterator), 0U);
    for (const Bytes &stored : kept) {
        EXPECT_TRUE(delivered.contains(stored));
    }
}

TEST_P(StoreIterators, DeliverCurrentContents) {
    const Bytes before = record(1);
    const Bytes after = with_primary_key_of(before, record(2));
    ASSERT_EQ(write(before), 0U);
    L2vpnDbIter *const iterator = open();
    ASSERT_EQ(write(after), 0U);
    EXPECT_EQ(rest_of(iterator), std::vector<Bytes>{packed(after)});
}

TEST_P(StoreIterators, ForeignHandlesAreRejected) {
    ASSERT_EQ(write(record(1)), 0U);
    L2vpnDbIter *const released = open();
    EXPECT_EQ(release(released), 0U);
    // A new iterator must not revive the released handle.
    L2vpnDbIter *const live = open();
    const TypedTable &other = typed_tables[&table_ == &typed_tables[0] ? 1 : 0];
    L2vpnDbIter *const foreign = DAL_VELD_CreateIterator(module_, other.descriptor);
    ASSERT_NE(foreign, nullptr);
    std::uint64_t none = 0;
    for (L2vpnDbIter *handle :
         {static_cast<L2vpnDbIter *>(nullptr), released, foreign,
          reinterpret_cast<L2vpnDbIter *>(&none), reinterpret_cast<L2vpnDbIter *>(UINTPTR_MAX),
          static_cast<L2vpnDbIter *>(table_.control_block)}) {
        Bytes buffer(facts_.stored_size);
        L2vpnDbRecData request = record_request(buffer);
        EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_ITERATOR,
                           [&] { return DAL_VELD_GetNextEntry(module_, intf_, handle, &request); }),
                  L2VPN_STORE_BAD_ITERATOR);
        EXPECT_EQ(buffer, Bytes(facts_.stored_size));
        EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_ITERATOR, [&] { return release(handle); }),
                  L2VPN_STORE_BAD_ITERATOR);
    }
    EXPECT_EQ(rest_of(live).size(), 1U);
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, other.descriptor, foreign), 0U);
}

// Every modified handle is rejected, unless it equals another open one.
TEST_P(StoreIterators, ForgedHandlesAreRejected) {
    L2vpnDbIter *const released = open();
    EXPECT_EQ(release(released), 0U);
    std::vector<L2vpnDbIter *> live;
    for (int i = 0; i < 3; ++i) {
        live.push_back(open());
    }
    EXPECT_EQ(release(live[1]), 0U);
    for (L2vpnDbIter *const from : {released, live[0], live[1], live[2]}) {
        const auto bits = reinterpret_cast<std::uintptr_t>(from);
        for (int shift = 0; shift < 64; ++shift) {
            const std::uintptr_t bit = std::uintptr_t{1} << shift;
            for (const std::uintptr_t forged : {bits ^ bit, bits + bit, bits - bit}) {
                L2vpnDbIter *const handle = reinterpret_cast<L2vpnDbIter *>(forged);
                if (handle == live[0] || handle == live[2]) {
                    continue;
                }
                EXPECT_EQ(release(handle), L2VPN_STORE_BAD_ITERATOR) << shift;
            }
        }
    }
    EXPECT_EQ(release(live[0]), 0U);
    EXPECT_EQ(release(live[2]), 0U);
}

} // namespace
} // namespace l2vpn::test
