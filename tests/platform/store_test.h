// SPDX-License-Identifier: MIT
// Calls the embedded store with the library's table descriptors, once for every table. Each call is
// also checked to count exactly one event.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <random>
#include <vector>

#include <pthread.h>

#include "l2vpn_db/memory_store.h"
#include "l2vpn_db/platform.h"
#include "tests/platform/random_calls.h"
#include "tests/platform/requests.h"
#include "tests/platform/setter.h"
#include "tests/support/facts.h"
#include "tests/support/table_test.h"

namespace l2vpn::test {

/// Calls a function, which must live longer, on a thread that may be cancelled or end itself.
inline pthread_t start_thread(const std::function<void()> &call) {
    pthread_t thread{};
    EXPECT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void *function) -> void * {
                      (*static_cast<const std::function<void()> *>(function))();
                      return nullptr;
                  },
                  const_cast<std::function<void()> *>(&call)),
              0);
    return thread;
}

class StoreTest : public testing::TestWithParam<const TypedTable *> {
protected:
    // The store outlives the test, so its records are deleted.
    void TearDown() override {
        L2vpnDbIter *const iterator = open();
        while (const auto stored = next(iterator)) {
            EXPECT_EQ(remove(unpacked(*stored)), 0U);
        }
        EXPECT_EQ(release(iterator), 0U);
        EXPECT_EQ(count(), 0U);
    }

    // ---- Records, in the caller's layout. The keys' members have few different values, so that
    // ---- records share key values.

    [[nodiscard]] Bytes record(std::uint32_t contents) const {
        return sample_record(facts_.record_size, contents);
    }

    [[nodiscard]] Bytes random_record(std::mt19937 &random) const {
        Bytes result = record(static_cast<std::uint32_t>(random()));
        for (const Key &key : facts_.keys) {
            for (const Field &member : key.members) {
                std::fill_n(result.begin() + member.offset, member.width, std::uint8_t{0});
                result[member.offset + random() % member.width] =
                    static_cast<std::uint8_t>(random() % 3 * 0x7F);
            }
        }
        return result;
    }

    /// A record with the primary key of `key` and all other fields of `rest`.
    [[nodiscard]] Bytes with_primary_key_of(const Bytes &key, Bytes rest) const {
        for (const Field &member : facts_.keys[0].members) {
            std::copy_n(key.begin() + member.offset, member.width, rest.begin() + member.offset);
        }
        return rest;
    }

    [[nodiscard]] Bytes packed(const Bytes &caller) const { return packed_record(facts_, caller); }
    [[nodiscard]] Bytes unpacked(const Bytes &stored) const {
        return unpacked_record(facts_, stored, Bytes(facts_.record_size));
    }

    // ---- Statistics

    static Counters counters_of(const TypedTable &table) {
        Counters result{};
        for (std::uint32_t id = 0; id < L2VPN_DB_STAT_COUNT; ++id) {
            result[id] = table.get_stat(id);
        }
        return result;
    }
    /// Whether the table was used before. Tests of a table's first use skip then; ctest avoids that
    /// by a process for each.
    static bool is_used(const TypedTable &table) { return counters_of(table) != Counters{}; }
    [[nodiscard]] Counters counters() const { return counters_of(table_); }

    /// Expects the events of the calls to be counted, and no others.
    void expect_events(const Counters &before, const RandomCalls &calls) const {
        const Counters after = counters();
        for (std::size_t event = 0; event < after.size(); ++event)
            EXPECT_EQ(after[event] - before[event], calls.events()[event]) << "event " << event;
    }

    /// Makes a call, which must count this event.
    template <class Call>
    auto counting(L2vpnStoreStat event, Call call) const {
        Counters expected = counters();
        ++expected[event];
        const auto result = call();
        EXPECT_EQ(counters(), expected) << "event " << event;
        return result;
    }

    /// Makes a call, which must count one event of any kind.
    template <class Call>
    auto counting_one(Call call) const {
        const Counters before = counters();
        const auto result = call();
        const Counters after = counters();
        std::uint32_t events = 0;
        for (std::size_t id = 0; id < before.size(); ++id) {
            events += after[id] - before[id];
        }
        EXPECT_EQ(events, 1U);
        return result;
    }

    // ---- Valid calls

    std::uint32_t write(const Bytes &caller) const {
        Bytes stored = packed(caller);
        const L2vpnDbRecData request = record_request(stored);
        return counting_one([&] { return DAL_VELD_Write(module_, intf_, &request); });
    }

    /// The stored record with the key value; nullopt if there is none.
    std::optional<Bytes> read(const Key &key, const Bytes &caller) const {
        const KeyRequest selected(key, caller);
        return delivered(
            [&](L2vpnDbRecData *request) {
                return DAL_VELD_Read(module_, intf_, &selected.request, request);
            },
            L2VPN_STORE_NOT_FOUND);
    }

    std::uint32_t remove(const Bytes &caller) const {
        const KeyRequest key(facts_.keys[0], caller);
        return counting_one([&] { return DAL_VELD_Delete(module_, intf_, &key.request); });
    }

    [[nodiscard]] std::uint32_t count() const {
        std::uint32_t result = 0;
        EXPECT_EQ(counting(L2VPN_STORE_STAT_COUNTED,
                           [&] { return DAL_VELD_Count(module_, intf_, &result); }),
                  0U);
        return result;
    }

    [[nodiscard]] std::uint32_t count(const Key &key, const Bytes &caller) const {
        const KeyRequest selected(key, caller);
        std::uint32_t result = 0;
        EXPECT_EQ(counting(L2VPN_STORE_STAT_KEY_COUNTED,
                           [&] {
                               return DAL_VELD_CountByKey(module_, intf_, &selected.request,
                                                          &result);
                           }),
                  0U);
        return result;
    }

    [[nodiscard]] L2vpnDbIter *open() const {
        L2vpnDbIter *const iterator = counting(
            L2VPN_STORE_STAT_ITER_OPENED, [&] { return DAL_VELD_CreateIterator(module_, intf_); });
        EXPECT_NE(iterator, nullptr);
        return iterator;
    }

    [[nodiscard]] L2vpnDbIter *open(const Key &key, const Bytes &caller) const {
        const KeyRequest selected(key, caller);
        L2vpnDbIter *const iterator = counting(L2VPN_STORE_STAT_KEY_ITER_OPENED, [&] {
            return DAL_VELD_CreateIteratorByKey(module_, intf_, &selected.request);
        });
        EXPECT_NE(iterator, nullptr);
        return iterator;
    }

    /// The next stored record; nullopt at the end.
    std::optional<Bytes> next(L2vpnDbIter *iterator) const {
        return delivered(
            [&](L2vpnDbRecData *request) {
                return DAL_VELD_GetNextEntry(module_, intf_, iterator, request);
            },
            L2VPN_STORE_END);
    }

    std::uint32_t release(L2vpnDbIter *iterator) const {
        return counting_one([&] { return DAL_VELD_ReleaseIterator(module_, intf_, iterator); });
    }

    /// The records that the iterator has yet to deliver, in its order; releases it.
    [[nodiscard]] std::vector<Bytes> rest_of(L2vpnDbIter *iterator) const {
        std::vector<Bytes> records;
        while (auto stored = next(iterator)) {
            records.push_back(*stored);
        }
        EXPECT_EQ(counting(L2VPN_STORE_STAT_ITER_RELEASED, [&] { return release(iterator); }), 0U);
        return records;
    }

    // ---- Calls with stored records. Their events are not checked, because other threads may count
    // ---- some at the same time.

    std::uint32_t raw_write(Bytes stored) const {
        const L2vpnDbRecData request = record_request(stored);
        return DAL_VELD_Write(module_, intf_, &request);
    }

    /// The record with the key value of `of`; nullopt if there is none.
    [[nodiscard]] std::optional<Bytes> raw_read(const Key &key, const Bytes &of) const {
        const KeyRequest selected(key, TestRecords::key_value(key, of), KeyRequest::Value{});
        Bytes stored(facts_.stored_size);
        L2vpnDbRecData request = record_request(stored);
        const std::uint32_t code = DAL_VELD_Read(module_, intf_, &selected.request, &request);
        EXPECT_TRUE(code == 0 || code == L2VPN_STORE_NOT_FOUND) << code;
        return code == 0 ? std::optional(stored) : std::nullopt;
    }

    /// Updates the record with the primary key of `of`. The setter is called with the record object
    /// only.
    std::uint32_t raw_update(const Bytes &of, const SetterAction &setter) const {
        return raw_update(*intf_, of, setter);
    }
    std::uint32_t raw_update(L2vpnDbTblIntf &descriptor, const Bytes &of,
                             const SetterAction &setter) const {
        const Key &key = facts_.keys[0];
        const KeyRequest selected(key, TestRecords::key_value(key, of), KeyRequest::Value{});
        const L2vpnDbRecData request = unread_record();
        const L2vpnDbUpdData update{nullptr, 0, 0, run_setter};
        const ChosenSetter chosen(setter);
        return DAL_VELD_Update(module_, &descriptor, &selected.request, &request, &update);
    }

    std::uint32_t raw_remove(const Bytes &of) const {
        const Key &key = facts_.keys[0];
        const KeyRequest selected(key, TestRecords::key_value(key, of), KeyRequest::Value{});
        return DAL_VELD_Delete(module_, intf_, &selected.request);
    }

    [[nodiscard]] std::uint32_t raw_count() const {
        std::uint32_t count = 77;
        EXPECT_EQ(DAL_VELD_Count(module_, intf_, &count), 0U);
        return count;
    }

    const TypedTable &table_ = *GetParam();
    const Facts &facts_ = facts(table_.name);
    L2vpnDbTblIntf *const intf_ = table_.descriptor;
    L2vpnDbModuleIntf *const module_ = module();

private:
    /// Checks that a success fills exactly the stored length, and a failure nothing.
    template <class Call>
    std::optional<Bytes> delivered(Call call, std::uint32_t none) const {
        const Bytes untouched(facts_.stored_size + 8, 0xA5);
        Bytes buffer = untouched;
        L2vpnDbRecData request{buffer.data(), facts_.stored_size, 0};
        const std::uint32_t code = counting_one([&] { return call(&request); });
        if (code != 0) {
            EXPECT_EQ(code, none);
            EXPECT_EQ(buffer, untouched);
            return std::nullopt;
        }
        EXPECT_TRUE(std::equal(untouched.begin() + facts_.stored_size, untouched.end(),
                               buffer.begin() + facts_.stored_size));
        buffer.resize(facts_.stored_size);
        return buffer;
    }
};

} // namespace l2vpn::test
