// SPDX-License-Identifier: MIT
// Every allocation that a call makes fails once: the call says so and has changed nothing.
#include "tests/platform/failing_memory.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class StoreMemory : public StoreTest {
protected:
    /// Calls until no allocation is left to fail. After each failure the table is as it was.
    template <class Call>
    void with_failures(Call call) {
        const std::vector<Bytes> before = rest_of(open());
        for (int allocations = 0;; ++allocations) {
            ASSERT_LT(allocations, 1000) << "memory never suffices";
            const Counters counted = counters();
            fail_allocations_after(allocations);
            const std::uint32_t code = call();
            stop_failing_allocations();
            if (code != L2VPN_STORE_NO_MEMORY) {
                EXPECT_EQ(code, 0U);
                return;
            }
            Counters expected = counted;
            ++expected[L2VPN_STORE_STAT_NO_MEMORY];
            EXPECT_EQ(counters(), expected);
            EXPECT_EQ(rest_of(open()), before);
            for (const Key &key : facts_.keys) {
                std::uint32_t sharing = 0;
                for (const Bytes &stored : before) {
                    sharing += packed_key(key, unpacked(stored)) == packed_key(key, first_);
                }
                EXPECT_EQ(count(key, first_), sharing) << key.name;
            }
        }
    }

    const Bytes first_ = record(1);
    const Bytes second_ = with_primary_key_of(first_, record(2));
};
L2VPN_TEST_TYPED_TABLES(StoreMemory, any_table);

TEST_P(StoreMemory, WriteUpdateDelete) {
    Bytes stored = packed(first_);
    const L2vpnDbRecData inserted = record_request(stored);
    with_failures([&] { return DAL_VELD_Write(module_, intf_, &inserted); });

    Bytes replacement = packed(second_);
    const L2vpnDbRecData replaced = record_request(replacement);
    with_failures([&] { return DAL_VELD_Write(module_, intf_, &replaced); });

    const KeyRequest key(facts_.keys[0], first_);
    if (const Field *const field = facts_.find("batchVersion")) {
        Bytes caller = first_;
        const L2vpnDbRecData record = record_request(caller);
        const L2vpnDbUpdData update{&field->id, 1, 0, table_.set_fields};
        with_failures(
            [&] { return DAL_VELD_Update(module_, intf_, &key.request, &record, &update); });
    }
    with_failures([&] { return DAL_VELD_Delete(module_, intf_, &key.request); });
    EXPECT_EQ(count(), 0U);
}

TEST_P(StoreMemory, ReadAndIterate) {
    ASSERT_EQ(write(first_), 0U);
    const Bytes untouched(facts_.stored_size, 0xA5);
    Bytes buffer = untouched;
    L2vpnDbRecData request = record_request(buffer);
    for (const Key &key : facts_.keys) {
        const KeyRequest selected(key, first_);
        L2vpnDbIter *iterator = nullptr;
        const auto expect_filled_on_success = [&](std::uint32_t code) {
            stop_failing_allocations();
            EXPECT_EQ(buffer, code == 0 ? packed(first_) : untouched);
            buffer.assign(untouched.begin(), untouched.end());
            return code;
        };
        with_failures([&] {
            return expect_filled_on_success(
                DAL_VELD_Read(module_, intf_, &selected.request, &request));
        });
        with_failures([&] {
            iterator = DAL_VELD_CreateIteratorByKey(module_, intf_, &selected.request);
            return iterator == nullptr ? L2VPN_STORE_NO_MEMORY : 0U;
        });
        with_failures([&] {
            return expect_filled_on_success(
                DAL_VELD_GetNextEntry(module_, intf_, iterator, &request));
        });
        std::uint32_t matches = 0;
        with_failures(
            [&] { return DAL_VELD_CountByKey(module_, intf_, &selected.request, &matches); });
        EXPECT_EQ(matches, 1U);
        with_failures([&] { return DAL_VELD_ReleaseIterator(module_, intf_, iterator); });
    }
}

} // namespace
} // namespace l2vpn::test
