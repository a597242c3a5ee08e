// SPDX-License-Identifier: MIT
// Partial updates: calls of the setter, and the effect of its result.
#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

/// The setter's arguments, and its action.
struct Setter {
    const L2vpnDbTblIntf *table = nullptr;
    std::uint32_t result = 0;
    Bytes new_contents; ///< the stored record to set; empty for no change
    int calls = 0;
    const L2vpnDbRecData *record = nullptr;
    const std::uint32_t *ids = nullptr;
    std::uint32_t id_count = 0;
};
Setter setter;

std::uint32_t set_fields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                         const std::uint32_t *ids, std::uint32_t id_count) {
    ++setter.calls;
    setter.record = record;
    setter.ids = ids;
    setter.id_count = id_count;
    if (!setter.new_contents.empty()) {
        const L2vpnDbRecData contents{setter.new_contents.data(),
                                      static_cast<std::uint32_t>(setter.new_contents.size()), 0};
        EXPECT_EQ(setter.table->setAllFields(object, &contents), 0U);
    }
    return setter.result;
}

class StoreUpdate : public StoreTest {
protected:
    void SetUp() override {
        setter = {};
        setter.table = intf_;
    }

    std::uint32_t update(const Bytes &caller, const L2vpnDbRecData &record) const {
        const KeyRequest key(facts_.keys[0], caller);
        return counting_one(
            [&] { return DAL_VELD_Update(module_, intf_, &key.request, &record, &request_); });
    }
    std::uint32_t update(Bytes caller) const { return update(caller, record_request(caller)); }

    std::array<std::uint32_t, 2> ids_{3, 4};
    L2vpnDbUpdData request_{ids_.data(), 2, 0, set_fields};
};
L2VPN_TEST_TYPED_TABLES(StoreUpdate, any_table);

/// The request by which the store has filled the record object.
L2vpnDbRecData filled_by{};

TEST_P(StoreUpdate, TheRecordObjectIsFilledByAWholeRequest) {
    const Bytes caller = record(1);
    ASSERT_EQ(write(caller), 0U);
    static L2vpnDbTblIntf descriptor;
    descriptor = *intf_;
    descriptor.setAllFields = [](L2vpnDbRecObj *object, const L2vpnDbRecData *request) {
        filled_by = *request;
        return setter.table->setAllFields(object, request);
    };
    const KeyRequest key(facts_.keys[0], caller);
    const L2vpnDbRecData unread = unread_record();
    EXPECT_EQ(DAL_VELD_Update(module_, &descriptor, &key.request, &unread, &request_), 0U);
    EXPECT_EQ(filled_by.length, facts_.stored_size);
    EXPECT_EQ(filled_by.reserved, 0U);
}

TEST_P(StoreUpdate, TheSetterGetsTheRequestUnchanged) {
    Bytes caller = record(1);
    ASSERT_EQ(write(caller), 0U);
    const L2vpnDbRecData request = record_request(caller);
    EXPECT_EQ(update(caller, request), 0U);
    EXPECT_EQ(setter.calls, 1);
    EXPECT_EQ(setter.record, &request);
    EXPECT_EQ(setter.ids, ids_.data());
    EXPECT_EQ(setter.id_count, 2U);
}

TEST_P(StoreUpdate, LengthAndFieldIdsAreNotChecked) {
    const Bytes caller = record(1);
    ASSERT_EQ(write(caller), 0U);
    request_ = {nullptr, 0, 0, set_fields};
    setter.result = L2VPN_DB_ERR_PARAM;
    EXPECT_EQ(update(caller, unread_record()), L2VPN_DB_ERR_PARAM);
    EXPECT_EQ(setter.calls, 1);
    EXPECT_EQ(setter.ids, nullptr);
    EXPECT_EQ(setter.id_count, 0U);
}

TEST_P(StoreUpdate, NullRecordIsRejectedWithoutASetterCall) {
    const Bytes caller = record(1);
    ASSERT_EQ(write(caller), 0U);
    for (const std::uint32_t length : {0U, facts_.record_size})
        EXPECT_EQ(counting(L2VPN_STORE_STAT_BAD_REQUEST,
                           [&] {
                               return update(caller, {nullptr, length, 0});
                           }),
                  L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(setter.calls, 0);
    EXPECT_EQ(read(facts_.keys[0], caller), packed(caller));
}

TEST_P(StoreUpdate, MissingRecordIsNotFoundWithoutASetterCall) {
    EXPECT_EQ(counting(L2VPN_STORE_STAT_UPDATE_MISSED, [&] { return update(record(1)); }),
              L2VPN_STORE_NOT_FOUND);
    EXPECT_EQ(setter.calls, 0);
    EXPECT_EQ(count(), 0U);
}

TEST_P(StoreUpdate, ChangeIsStoredUnderAllKeys) {
    const Bytes before = record(1);
    const Bytes after = with_primary_key_of(before, record(2));
    ASSERT_EQ(write(before), 0U);
    setter.new_contents = packed(after);
    EXPECT_EQ(counting(L2VPN_STORE_STAT_UPDATED, [&] { return update(before); }), 0U);
    EXPECT_EQ(count(), 1U);
    for (const Key &key : facts_.keys) {
        EXPECT_EQ(read(key, after), packed(after)) << key.name;
        EXPECT_EQ(count(key, after), 1U) << key.name;
        if (packed_key(key, before) != packed_key(key, after)) {
            EXPECT_EQ(count(key, before), 0U) << key.name;
        }
    }
}

TEST_P(StoreUpdate, FailedSetterChangesNothing) {
    const Bytes before = record(1);
    ASSERT_EQ(write(before), 0U);
    setter.new_contents = packed(with_primary_key_of(before, record(2)));
    for (const std::uint32_t result : {1U, 7U, 60U, 0xFFFFFFFFU}) {
        setter.result = result;
        EXPECT_EQ(counting(L2VPN_STORE_STAT_UPDATE_REFUSED, [&] { return update(before); }),
                  result);
        for (const Key &key : facts_.keys) {
            EXPECT_EQ(read(key, before), packed(before)) << key.name;
        }
    }
}

TEST_P(StoreUpdate, SetterCannotChangeThePrimaryKey) {
    const Bytes before = record(1);
    ASSERT_EQ(write(before), 0U);
    setter.new_contents = packed(record(2));
    EXPECT_EQ(counting(L2VPN_STORE_STAT_UPDATE_REFUSED, [&] { return update(before); }),
              L2VPN_STORE_KEY_CHANGED);
    EXPECT_EQ(count(), 1U);
    EXPECT_EQ(read(facts_.keys[0], before), packed(before));
    EXPECT_EQ(read(facts_.keys[0], record(2)), std::nullopt);
}

TEST_P(StoreUpdate, TheRecordObjectIsReleased) {
    const Bytes before = record(1);
    ASSERT_EQ(write(before), 0U);
    register_memory_service();
    const auto expect_returned = [&](std::uint32_t code) {
        const std::size_t held = bytes_held();
        const std::uint32_t given = allocations();
        EXPECT_EQ(update(before), code);
        EXPECT_EQ(allocations(), given + 1);
        EXPECT_EQ(bytes_held(), held);
    };
    expect_returned(0);
    setter.result = 7;
    expect_returned(7);
    setter.result = 0;
    setter.new_contents = packed(record(2));
    expect_returned(L2VPN_STORE_KEY_CHANGED);
}

TEST_P(StoreUpdate, LibrarySetterChangesBatchVersionOnly) {
    Bytes before = record(1);
    const Bytes caller = with_primary_key_of(before, record(2));
    ASSERT_EQ(write(before), 0U);
    const Field *const field = facts_.find("batchVersion");
    if (field == nullptr) {
        EXPECT_EQ(counting(L2VPN_STORE_STAT_UPDATE_REFUSED,
                           [&] { return table_.update_field(caller.data(), 0); }),
                  L2VPN_DB_ERR_PARAM);
    } else {
        EXPECT_EQ(counting(L2VPN_STORE_STAT_UPDATED,
                           [&] { return table_.update_field(caller.data(), field->id); }),
                  0U);
        std::copy_n(caller.begin() + field->offset, field->width, before.begin() + field->offset);
    }
    EXPECT_EQ(read(facts_.keys[0], before), packed(before));
}

} // namespace
} // namespace l2vpn::test
