// SPDX-License-Identifier: MIT
// The store calls a setter without a lock: a setter may call the store, take any time, or not
// return at all.
#include <atomic>
#include <csetjmp>
#include <set>

#include <pthread.h>
#include <unistd.h>

#include "tests/platform/store_test.h"
#include "tests/support/script.h"

namespace l2vpn::test {
namespace {

// ---- Record objects of the tested table. Setters that do not return leak theirs.

const L2vpnDbTblIntf *object_functions = nullptr;
std::mutex object_mutex;
std::set<L2vpnDbRecObj *> objects;

L2vpnDbRecObj *create_object(L2vpnDbModuleIntf *module) {
    L2vpnDbRecObj *const object = object_functions->createObject(module);
    const std::lock_guard lock(object_mutex);
    objects.insert(object);
    return object;
}

void release_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object) {
    {
        const std::lock_guard lock(object_mutex);
        EXPECT_EQ(objects.erase(object), 1U);
    }
    object_functions->releaseObject(module, object);
}

// ---- The fixture

constexpr std::uint32_t pool_size = 300;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}
bool has_pool_and_batch_version(const Facts &table) {
    return has_pool(table) && is_updatable(table);
}

class StoreSetter : public StoreTest {
protected:
    void SetUp() override {
        alarm(100); // a lock that is never released would block the test
        object_functions = intf_;
        descriptor_.createObject = create_object;
        descriptor_.releaseObject = release_object;
        ASSERT_EQ(raw_write(old_), 0U);
    }
    void TearDown() override {
        for (L2vpnDbRecObj *const object : objects)
            intf_->releaseObject(module_, object);
        objects.clear();
        StoreTest::TearDown();
        alarm(0);
    }

    std::uint32_t update(const SetterAction &setter) {
        return raw_update(descriptor_, old_, setter);
    }

    /// A setter's assignment of the whole record.
    std::uint32_t set(L2vpnDbRecObj *object, Bytes contents) const {
        const L2vpnDbRecData request = record_request(contents);
        return intf_->setAllFields(object, &request);
    }
    /// A setter's assignment of batchVersion alone.
    std::uint32_t set_batch_version(L2vpnDbRecObj *object, std::uint32_t value) const {
        const Field &field = *facts_.find("batchVersion");
        Bytes caller(facts_.record_size);
        std::memcpy(caller.data() + field.offset, &value, sizeof value);
        const L2vpnDbRecData request = record_request(caller);
        return table_.set_fields(&request, object, &field.id, 1);
    }
    [[nodiscard]] Bytes with_batch_version(Bytes stored, std::uint32_t value) const {
        std::memcpy(stored.data() + facts_.find("batchVersion")->stored_offset, &value,
                    sizeof value);
        return stored;
    }

    /// Expects the table to hold this record only, under all its keys, and to accept changes from
    /// this thread and from another one.
    void expect_usable(const Bytes &stored) {
        const auto use = [&] {
            EXPECT_EQ(raw_count(), 1U);
            for (const Key &key : facts_.keys)
                EXPECT_EQ(raw_read(key, stored), stored) << key.name;
            EXPECT_EQ(raw_write(pool_.make(1, 0)), 0U);
            EXPECT_EQ(raw_write(stored), 0U);
            EXPECT_EQ(update([](L2vpnDbRecObj *) { return 0U; }), 0U);
            L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
            EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
            EXPECT_EQ(raw_remove(pool_.make(1, 0)), 0U);
        };
        use();
        std::jthread(use).join();
    }

    /// Calls the function on another thread, which it may end.
    static void on_another_thread(const std::function<void()> &call) {
        const pthread_t thread = start_thread(call);
        ASSERT_EQ(pthread_join(thread, nullptr), 0);
    }

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::distinct};
    const Bytes old_ = pool_.make(0, 0);
    const Bytes new_ = pool_.make(0, 2);
    L2vpnDbTblIntf descriptor_ = *intf_;
};
L2VPN_TEST_TYPED_TABLES(StoreSetter, has_pool);

class StoreSetterOfAField : public StoreSetter {};
L2VPN_TEST_TYPED_TABLES(StoreSetterOfAField, has_pool_and_batch_version);

// ---- Setters that do not return ---------------------------------------------------------------

TEST_P(StoreSetter, MayThrow) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_THROW(update([&](L2vpnDbRecObj *object) -> std::uint32_t {
                         set(object, new_);
                         throw i;
                     }),
                     int);
        expect_usable(old_);
    }
}

std::jmp_buf jump_target;

TEST_P(StoreSetter, MayJumpOut) {
    // No destructor is skipped: everything is created before the jump's target.
    const KeyRequest key(facts_.keys[0], pool_.primary(0), KeyRequest::Value{});
    const L2vpnDbRecData request = unread_record();
    const L2vpnDbUpdData call{nullptr, 0, 0, run_setter};
    const SetterAction jump = [&](L2vpnDbRecObj *object) -> std::uint32_t {
        set(object, new_);
        std::longjmp(jump_target, 1);
    };
    const ChosenSetter chosen(jump);
    const auto update_and_jump = [&] {
        if (setjmp(jump_target) == 0) {
            DAL_VELD_Update(module_, &descriptor_, &key.request, &request, &call);
            ADD_FAILURE() << "the setter returned";
        }
    };
    for (int i = 0; i < 3; ++i) {
        update_and_jump();
        expect_usable(old_);
    }
}

TEST_P(StoreSetter, MayEndItsThread) {
    for (int i = 0; i < 3; ++i) {
        on_another_thread([&] {
            update([&](L2vpnDbRecObj *object) -> std::uint32_t {
                set(object, new_);
                pthread_exit(nullptr);
            });
            ADD_FAILURE() << "the setter returned";
        });
        expect_usable(old_);
    }
}

TEST_P(StoreSetter, MayBeCancelled) {
    Script script;
    const std::function<void()> call = [&] {
        update([&](L2vpnDbRecObj *object) -> std::uint32_t {
            set(object, new_);
            script.advance_to(1);
            for (;;)
                usleep(1000); // a cancellation point
        });
        ADD_FAILURE() << "the setter returned";
    };
    for (int i = 0; i < 3; ++i) {
        script.advance_to(0);
        const pthread_t thread = start_thread(call);
        script.wait_for(1);
        ASSERT_EQ(pthread_cancel(thread), 0);
        ASSERT_EQ(pthread_join(thread, nullptr), 0);
        expect_usable(old_);
    }
}

TEST_P(StoreSetter, BlocksNoOtherCall) {
    Script script;
    std::jthread updater([&] {
        EXPECT_EQ(update([&](L2vpnDbRecObj *) {
                      script.advance_to(1);
                      script.wait_for(2);
                      return 0U;
                  }),
                  0U);
    });
    script.wait_for(1);
    expect_usable(old_);
    EXPECT_EQ(raw_write(new_), 0U);
    expect_usable(new_);
    script.advance_to(2);
    updater.join();
    expect_usable(new_); // the setter has set nothing
}

// ---- Setters that change the record by other calls ----------------------------------------------

TEST_P(StoreSetter, MayDeleteItsRecord) {
    const Counters before = counters();
    std::uint32_t calls = 0;
    EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                  ++calls;
                  EXPECT_EQ(raw_remove(old_), 0U);
                  return set(object, new_);
              }),
              L2VPN_STORE_NOT_FOUND);
    EXPECT_EQ(calls, 1U);
    EXPECT_EQ(raw_count(), 0U);
    EXPECT_EQ(raw_read(facts_.keys[0], old_), std::nullopt);
    const Counters after = counters();
    EXPECT_EQ(after[L2VPN_STORE_STAT_UPDATE_MISSED] - before[L2VPN_STORE_STAT_UPDATE_MISSED], 1U);
    EXPECT_EQ(after[L2VPN_STORE_STAT_UPDATED], before[L2VPN_STORE_STAT_UPDATED]);
    EXPECT_EQ(after[L2VPN_STORE_STAT_DELETED] - before[L2VPN_STORE_STAT_DELETED], 1U);
}

TEST_P(StoreSetter, FailureAfterADeleteIsItsResult) {
    EXPECT_EQ(update([&](L2vpnDbRecObj *) {
                  EXPECT_EQ(raw_remove(old_), 0U);
                  return 7U;
              }),
              7U);
    EXPECT_EQ(raw_count(), 0U);
}

TEST_P(StoreSetter, WholeRecordReplacesOneWrittenMeanwhile) {
    EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                  EXPECT_EQ(raw_write(pool_.make(0, 4)), 0U);
                  return set(object, new_);
              }),
              0U);
    expect_usable(new_);
}

TEST_P(StoreSetter, ThatSetsNothingKeepsARecordWrittenMeanwhile) {
    for (const bool anew : {false, true}) {
        EXPECT_EQ(update([&](L2vpnDbRecObj *) {
                      if (anew) {
                          EXPECT_EQ(raw_remove(old_), 0U);
                      }
                      EXPECT_EQ(raw_write(new_), 0U);
                      return 0U;
                  }),
                  0U);
        expect_usable(new_);
        ASSERT_EQ(raw_write(old_), 0U);
    }
}

TEST_P(StoreSetterOfAField, KeepsTheOtherFieldsOfARecordWrittenMeanwhile) {
    for (const bool anew : {false, true}) {
        EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                      if (anew) {
                          EXPECT_EQ(raw_remove(old_), 0U);
                      }
                      EXPECT_EQ(raw_write(new_), 0U);
                      return set_batch_version(object, 0x12345678);
                  }),
                  0U);
        expect_usable(with_batch_version(new_, 0x12345678));
        ASSERT_EQ(raw_write(old_), 0U);
    }
}

TEST_P(StoreSetterOfAField, AfterTheWholeRecordSetsBoth) {
    EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                  EXPECT_EQ(raw_write(pool_.make(0, 4)), 0U);
                  EXPECT_EQ(set(object, new_), 0U);
                  return set_batch_version(object, 0x12345678);
              }),
              0U);
    expect_usable(with_batch_version(new_, 0x12345678));
}

TEST_P(StoreSetterOfAField, BeforeTheWholeRecordIsOverwritten) {
    EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                  EXPECT_EQ(set_batch_version(object, 0x12345678), 0U);
                  return set(object, new_);
              }),
              0U);
    expect_usable(new_);
}

TEST_P(StoreSetterOfAField, MayUpdateItsRecord) {
    std::uint32_t calls = 0;
    EXPECT_EQ(update([&](L2vpnDbRecObj *outer) {
                  ++calls;
                  EXPECT_EQ(update([&](L2vpnDbRecObj *inner) {
                                ++calls;
                                EXPECT_NE(inner, outer);
                                return set(inner, new_);
                            }),
                            0U);
                  EXPECT_EQ(raw_read(facts_.keys[0], old_), new_);
                  return set_batch_version(outer, 6);
              }),
              0U);
    EXPECT_EQ(calls, 2U);
    expect_usable(with_batch_version(new_, 6));
}

TEST_P(StoreSetter, MayIterateAndRelease) {
    EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                  Bytes stored(facts_.stored_size);
                  L2vpnDbRecData request = record_request(stored);
                  L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
                  EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, iterator, &request), 0U);
                  EXPECT_EQ(stored, old_);
                  EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, iterator, &request),
                            L2VPN_STORE_END);
                  EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, iterator), 0U);
                  EXPECT_EQ(raw_count(), 1U);
                  return set(object, new_);
              }),
              0U);
    expect_usable(new_);
}

TEST_P(StoreSetter, MustNotChangeThePrimaryKey) {
    const Counters before = counters();
    EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                  EXPECT_EQ(raw_write(new_), 0U);
                  return set(object, pool_.make(1, 0));
              }),
              L2VPN_STORE_KEY_CHANGED);
    EXPECT_EQ(counters()[L2VPN_STORE_STAT_UPDATE_REFUSED] - before[L2VPN_STORE_STAT_UPDATE_REFUSED],
              1U);
    expect_usable(new_);
    // A reset sets the primary key, too.
    EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                  intf_->resetObject(module_, object);
                  return 0U;
              }),
              TestRecords::key_value(facts_.keys[0], old_) == Bytes(facts_.keys[0].length)
                  ? 0U
                  : L2VPN_STORE_KEY_CHANGED);
}

TEST_P(StoreSetter, ResetClearsARecordWrittenMeanwhile) {
    Bytes cleared(facts_.stored_size); // all zero, its primary key included
    ASSERT_EQ(raw_remove(old_), 0U);
    ASSERT_EQ(raw_write(cleared), 0U);
    Bytes other(facts_.stored_size, 0x5A);
    for (const Field &member : facts_.keys[0].members)
        std::fill_n(other.begin() + member.stored_offset, member.width, std::uint8_t{0});
    EXPECT_EQ(raw_update(descriptor_, cleared,
                         [&](L2vpnDbRecObj *object) {
                             EXPECT_EQ(raw_write(other), 0U);
                             intf_->resetObject(module_, object);
                             return 0U;
                         }),
              0U);
    EXPECT_EQ(raw_read(facts_.keys[0], cleared), cleared);
    EXPECT_EQ(raw_count(), 1U);
}

// ---- Concurrent updates and writes of one record -----------------------------------------------

// One thread writes the record, the others update its batchVersion: no write's other fields are
// lost.
TEST_P(StoreSetterOfAField, LosesNoConcurrentWrite) {
    constexpr std::uint32_t writes = 1500;
    std::atomic<std::uint32_t> updates = 0;
    std::atomic<std::uint32_t> calls = 0;
    std::vector<std::jthread> updaters;
    for (std::uint32_t thread = 0; thread < 2; ++thread)
        updaters.emplace_back([&, thread](const std::stop_token &stop) {
            for (std::uint32_t i = 0; !stop.stop_requested(); ++i) {
                EXPECT_EQ(update([&](L2vpnDbRecObj *object) {
                              ++calls;
                              return set_batch_version(object, 2 * i + thread);
                          }),
                          0U);
                ++updates;
            }
        });
    for (std::uint32_t i = 0; i < writes || updates < 100; ++i) {
        const Bytes written = pool_.make(0, i % TestRecords::versions);
        EXPECT_EQ(raw_write(written), 0U);
        const std::optional<Bytes> found = raw_read(facts_.keys[0], written);
        ASSERT_TRUE(found);
        EXPECT_EQ(with_batch_version(*found, 0), with_batch_version(written, 0));
    }
    updaters.clear();
    EXPECT_EQ(calls, updates) << "each update calls its setter once";
}

// Updates of a record that comes and goes either find it or do not.
TEST_P(StoreSetterOfAField, OfARecordThatComesAndGoes) {
    constexpr std::uint32_t rounds = 500;
    std::atomic<std::uint32_t> found = 0;
    std::jthread updater([&](const std::stop_token &stop) {
        for (std::uint32_t i = 0; !stop.stop_requested(); ++i) {
            const std::uint32_t code =
                update([&](L2vpnDbRecObj *object) { return set_batch_version(object, i); });
            EXPECT_TRUE(code == 0 || code == L2VPN_STORE_NOT_FOUND) << code;
            found += code == 0 ? 1 : 0;
        }
    });
    for (std::uint32_t i = 0; i < rounds || found < 10; ++i) {
        EXPECT_EQ(raw_remove(old_), 0U);
        EXPECT_EQ(raw_read(facts_.keys[0], old_), std::nullopt);
        EXPECT_EQ(raw_write(old_), 0U);
    }
    EXPECT_EQ(raw_count(), 1U);
}

} // namespace
} // namespace l2vpn::test
