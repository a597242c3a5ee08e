// SPDX-License-Identifier: MIT
// Record objects, through the functions in the table descriptors.
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class RecordObject : public testing::TestWithParam<const TypedTable *> {
protected:
    const TypedTable &table_ = *GetParam();
    const L2vpnDbTblIntf &intf_ = *table_.descriptor;
    const Facts &facts_ = facts(table_.name);
};
L2VPN_TEST_TYPED_TABLES(RecordObject, any_table);

TEST_P(RecordObject, AcceptsStoredRecordsOfItsTableOnly) {
    Bytes stored(facts_.stored_size + 1);
    L2vpnDbRecObj *const object = intf_.createObject(nullptr);
    ASSERT_NE(object, nullptr);
    L2vpnDbRecData request{stored.data(), facts_.stored_size, 0};
    EXPECT_EQ(intf_.setAllFields(object, &request), 0U);
    EXPECT_EQ(intf_.setAllFields(nullptr, &request), L2VPN_STORE_BAD_OBJECT);
    EXPECT_EQ(intf_.setAllFields(object, nullptr), L2VPN_STORE_NULL_POINTER);
    for (const std::uint32_t length : {0U, facts_.stored_size - 1, facts_.stored_size + 1}) {
        request.length = length;
        EXPECT_EQ(intf_.setAllFields(object, &request), L2VPN_STORE_BAD_LENGTH);
    }
    request = {nullptr, facts_.stored_size, 0};
    EXPECT_EQ(intf_.setAllFields(object, &request), L2VPN_STORE_NULL_POINTER);
    intf_.releaseObject(nullptr, object);
}

TEST_P(RecordObject, OfAnotherTableIsRejected) {
    const TypedTable &other = typed_tables[&table_ == &typed_tables[0] ? 1 : 0];
    L2vpnDbRecObj *const object = other.descriptor->createObject(nullptr);
    ASSERT_NE(object, nullptr);
    Bytes stored(facts_.stored_size);
    const L2vpnDbRecData request{stored.data(), facts_.stored_size, 0};
    EXPECT_EQ(intf_.setAllFields(object, &request), L2VPN_STORE_BAD_OBJECT);
    if (const Field *const field = facts_.find("batchVersion")) {
        Bytes caller(facts_.record_size);
        const L2vpnDbRecData record{caller.data(), facts_.record_size, 0};
        EXPECT_EQ(table_.set_fields(&record, object, &field->id, 1), L2VPN_STORE_BAD_OBJECT);
        EXPECT_EQ(table_.set_fields(&record, nullptr, &field->id, 1), L2VPN_STORE_BAD_OBJECT);
    }
    other.descriptor->releaseObject(nullptr, object);
}

TEST_P(RecordObject, NullIsIgnored) {
    intf_.resetObject(nullptr, nullptr);
    intf_.releaseObject(nullptr, nullptr);
}

/// A setter: an update turns the record object into a stored record.
std::uint32_t reset(const L2vpnDbRecData *record, L2vpnDbRecObj *object, const std::uint32_t *,
                    std::uint32_t) {
    static_cast<const L2vpnDbTblIntf *>(record->data)->resetObject(nullptr, object);
    return 0;
}

TEST_P(RecordObject, ResetFillsTheRecordWithZeros) {
    // An update must not change the primary key, so the record's is zero.
    Bytes caller = sample_record(facts_.record_size);
    for (const Field &member : facts_.keys[0].members) {
        std::fill_n(caller.begin() + member.offset, member.width, std::uint8_t{0});
    }
    ASSERT_EQ(table_.write(caller.data()), 0U);
    const KeyRequest key(facts_.keys[0], caller);
    const L2vpnDbRecData descriptor{table_.descriptor, sizeof(L2vpnDbTblIntf), 0};
    const L2vpnDbUpdData update{nullptr, 0, 0, reset};
    EXPECT_EQ(DAL_VELD_Update(nullptr, table_.descriptor, &key.request, &descriptor, &update), 0U);
    Bytes stored(facts_.stored_size, 0xA5);
    L2vpnDbRecData request{stored.data(), facts_.stored_size, 0};
    EXPECT_EQ(DAL_VELD_Read(nullptr, table_.descriptor, &key.request, &request), 0U);
    EXPECT_EQ(stored, Bytes(facts_.stored_size));
    EXPECT_EQ(table_.remove(caller.data()), 0U);
}

} // namespace
} // namespace l2vpn::test
