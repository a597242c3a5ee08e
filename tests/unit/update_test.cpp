// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <algorithm>

namespace l2vpn::test {
namespace {

class Update : public TypedTableTest {
protected:
    /// Expects a request with the caller's record, the caller's ids and the table's setter.
    void expect_update(const StoreCall &call, const std::uint32_t *ids, std::uint32_t count) {
        expect_key(call.key, 0, record);
        ASSERT_TRUE(call.record.has_value());
        EXPECT_EQ(call.record->request.data, record.data());
        EXPECT_EQ(call.record->request.length, expected.record_size);
        EXPECT_EQ(call.record->request.reserved, 0U);
        ASSERT_TRUE(call.update.has_value());
        EXPECT_EQ(call.update->request.fieldIds, ids);
        EXPECT_EQ(call.update->request.fieldCount, count);
        EXPECT_EQ(call.update->request.reserved, 0U);
        EXPECT_EQ(call.update->request.setFields, table.set_fields);
    }

    /// Makes the store call the setter, as it would for a record that exists.
    void call_setter_during_update() {
        platform().during_update = [this](const L2vpnDbRecData *request,
                                          const L2vpnDbUpdData *update) {
            return update->setFields(request, object, update->fieldIds, update->fieldCount);
        };
    }

    [[nodiscard]] std::uint32_t batch_version_id() const {
        return expected.find("batchVersion")->id;
    }
    [[nodiscard]] std::uint32_t batch_version() const {
        return load<std::uint32_t>(record.data() + expected.find("batchVersion")->offset);
    }
    [[nodiscard]] bool updatable() const { return is_updatable(expected); }

    [[nodiscard]] L2vpnDbRecData request() const {
        return {const_cast<std::uint8_t *>(record.data()), expected.record_size, 0};
    }

    void expect_setter_calls(std::size_t count) const {
        ASSERT_EQ(platform().objects.size(), count);
        for (const ObjectCall &call : platform().objects) {
            EXPECT_EQ(call.op, ObjectOp::set_batch_version);
            EXPECT_EQ(call.table, table.name);
            EXPECT_EQ(call.object, object);
            EXPECT_EQ(call.value, batch_version());
        }
    }

    const Bytes record = sample_record(expected.record_size, 17);
    std::uint64_t object_storage = 0;
    L2vpnDbRecObj *object = reinterpret_cast<L2vpnDbRecObj *>(&object_storage);
};

class UpdateFields : public Update {};

TEST_P(UpdateFields, PassesKeyCallerRecordAndSetterToTheStore) {
    const std::array<std::uint32_t, 3> ids{5, 0, 0xFFFFFFFF};
    dirty_stack();
    EXPECT_EQ(table.update_fields(record.data(), ids.data(), 3), 0U);
    const StoreCall call = only_call(Op::update);
    expect_update(call, ids.data(), 3);
    EXPECT_EQ(call.update->ids, std::vector<std::uint32_t>(ids.begin(), ids.end()));
    EXPECT_EQ(call.record->bytes, record);
    EXPECT_TRUE(platform().objects.empty()) << "only the store calls the setter";
}

TEST_P(UpdateFields, EmptyOrNullListIsRejectedByTheSetterOnly) {
    const std::uint32_t id = 0;
    call_setter_during_update();
    EXPECT_EQ(table.update_fields(record.data(), &id, 0), 1U);
    expect_update(only_call(Op::update), &id, 0);
    platform().calls.clear();
    EXPECT_EQ(table.update_fields(record.data(), nullptr, 2), 1U);
    expect_update(only_call(Op::update), nullptr, 2);
    EXPECT_TRUE(platform().objects.empty());
}

TEST_P(UpdateFields, SetsBatchVersionThroughTheStore) {
    call_setter_during_update();
    const std::uint32_t id = updatable() ? batch_version_id() : 0;
    EXPECT_EQ(table.update_fields(record.data(), &id, 1), updatable() ? 0U : 1U);
    if (updatable()) {
        expect_setter_calls(1);
    } else {
        EXPECT_TRUE(platform().objects.empty());
    }
}

TEST_P(UpdateFields, UpdateFieldPassesAListOfOne) {
    for (const std::uint32_t id : {0U, updatable() ? batch_version_id() : 3U, 0xFFFFFFFFU}) {
        for (const std::uint32_t result : store_results) {
            platform().calls.clear();
            platform().result = result;
            EXPECT_EQ(table.update_field(record.data(), id), result);
            const StoreCall call = only_call(Op::update);
            expect_update(call, call.update->request.fieldIds, 1);
            EXPECT_EQ(call.update->ids, std::vector<std::uint32_t>{id});
        }
    }
}

TEST_P(UpdateFields, DoesNotCount) {
    const std::uint32_t id = 0;
    table.update_fields(record.data(), &id, 1);
    EXPECT_TRUE(platform().adds.empty());
}

L2VPN_TEST_TYPED_TABLES(UpdateFields, any_table);

class SetFields : public Update {};

TEST_P(SetFields, NullRequestNullListAndZeroCountAreRejected) {
    const std::uint32_t id = updatable() ? batch_version_id() : 0;
    const L2vpnDbRecData data = request();
    EXPECT_EQ(table.set_fields(nullptr, object, &id, 1), 1U);
    EXPECT_EQ(table.set_fields(&data, object, nullptr, 1), 1U);
    EXPECT_EQ(table.set_fields(&data, object, &id, 0), 1U);
    EXPECT_EQ(table.set_fields(nullptr, object, nullptr, 0), 1U);
    EXPECT_TRUE(platform().objects.empty());
}

TEST_P(SetFields, UnknownIdReturnsOneAndDiscardsEarlierResults) {
    const L2vpnDbRecData data = request();
    const std::uint32_t last_id = expected.fields.back().id + 1;
    for (std::uint32_t unknown = 0; unknown <= last_id + 3; ++unknown) {
        const bool known = updatable() && unknown == batch_version_id();
        if (known) {
            continue;
        }
        platform().objects.clear();
        EXPECT_EQ(table.set_fields(&data, object, &unknown, 1), 1U) << unknown;
        EXPECT_TRUE(platform().objects.empty());
        if (updatable()) {
            platform().setter_results = {0x40, 0x80, 0x100};
            const std::array ids{batch_version_id(), batch_version_id(), unknown,
                                 batch_version_id()};
            EXPECT_EQ(table.set_fields(&data, object, ids.data(), 4), 1U) << unknown;
            expect_setter_calls(2);
        }
    }
}

L2VPN_TEST_TYPED_TABLES(SetFields, any_table);

class SetUpdatableField : public Update {};

TEST_P(SetUpdatableField, ReadsBatchVersionAtItsCallerOffset) {
    const std::uint32_t id = batch_version_id();
    const L2vpnDbRecData data = request();
    EXPECT_EQ(table.set_fields(&data, object, &id, 1), 0U);
    expect_setter_calls(1);
}

TEST_P(SetUpdatableField, IgnoresTheRequestsLength) {
    const std::uint32_t id = batch_version_id();
    L2vpnDbRecData data = request();
    data.length = 0;
    EXPECT_EQ(table.set_fields(&data, object, &id, 1), 0U);
    expect_setter_calls(1);
}

TEST_P(SetUpdatableField, PassesANullObject) {
    object = nullptr;
    const std::uint32_t id = batch_version_id();
    const L2vpnDbRecData data = request();
    EXPECT_EQ(table.set_fields(&data, nullptr, &id, 1), 0U);
    expect_setter_calls(1);
}

TEST_P(SetUpdatableField, RepeatedIdSetsAgain) {
    const std::vector<std::uint32_t> ids(5, batch_version_id());
    const L2vpnDbRecData data = request();
    EXPECT_EQ(table.set_fields(&data, object, ids.data(), 5), 0U);
    expect_setter_calls(5);
}

TEST_P(SetUpdatableField, ResultsOfTheSetterAreOred) {
    const std::vector<std::uint32_t> ids(4, batch_version_id());
    const L2vpnDbRecData data = request();
    platform().setter_results = {0x00000010, 0, 0x80000001, 0x00000011};
    EXPECT_EQ(table.set_fields(&data, object, ids.data(), 4), 0x80000011U);
    expect_setter_calls(4);
}

TEST_P(SetUpdatableField, EachSetterResultIsReturned) {
    const std::vector<std::uint32_t> ids(3, batch_version_id());
    const L2vpnDbRecData data = request();
    for (std::size_t failing = 0; failing < 3; ++failing) {
        platform().objects.clear();
        platform().setter_results.assign(3, 0);
        platform().setter_results[failing] = 0x70 + static_cast<std::uint32_t>(failing);
        EXPECT_EQ(table.set_fields(&data, object, ids.data(), 3), 0x70 + failing);
        expect_setter_calls(3);
    }
}

L2VPN_TEST_TYPED_TABLES(SetUpdatableField, is_updatable);

class UpdateNullTest : public Update {};

TEST_P(UpdateNullTest, NullRecordIsRejectedWithoutAStoreCall) {
    const std::uint32_t id = 0;
    EXPECT_EQ(table.update_fields(nullptr, &id, 1), 1U);
    EXPECT_EQ(table.update_field(nullptr, id), 1U);
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(UpdateNullTest, SetterRejectsANullRecordPointer) {
    const std::uint32_t id = updatable() ? batch_version_id() : 0;
    const L2vpnDbRecData data{nullptr, expected.record_size, 0};
    EXPECT_EQ(table.set_fields(&data, object, &id, 1), 1U);
    EXPECT_TRUE(platform().objects.empty());
}

L2VPN_TEST_TYPED_TABLES(UpdateNullTest, has_null_tests);

class MapUpdateFieldId : public Update {};

TEST_P(MapUpdateFieldId, MapsOnlyBatchVersion) {
    const std::uint32_t last_id = expected.fields.back().id + 1;
    for (std::uint32_t id = 0; id <= last_id + 3; ++id) {
        const bool known = updatable() && id == batch_version_id();
        EXPECT_EQ(table.map_update_field_id(id), known ? id : L2VPN_DB_NO_MAPPING) << id;
    }
    for (const std::uint32_t id : {0x100U, 0x10000U, 0x3FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(table.map_update_field_id(id), L2VPN_DB_NO_MAPPING) << id;
    }
}

L2VPN_TEST_TYPED_TABLES(MapUpdateFieldId, any_table);

} // namespace
} // namespace l2vpn::test
