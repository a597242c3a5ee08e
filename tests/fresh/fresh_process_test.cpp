// SPDX-License-Identifier: MIT
// The state of a process before the first call. Each test leaves the control blocks zeroed, so that
// all of them can run in one process.
#include "tests/support/table_test.h"

#include <unistd.h>

namespace l2vpn::test {
namespace {

TEST(FreshProcess, ModuleInterfaceIsZeroBeforeRegistration) {
    ASSERT_NE(L2VPN_DB_ModuleIntf(), nullptr);
    EXPECT_EQ(L2VPN_DB_ModuleIntf()->memory[0], 0U);
    EXPECT_EQ(L2VPN_DB_ModuleIntf()->memory[1], 0U);
    EXPECT_EQ(L2VPN_DB_ModuleIntf()->log, 0U);
}

class FreshTable : public TypedTableTest {};

TEST_P(FreshTable, ControlBlockIsZero) {
    EXPECT_EQ(Bytes(block().bytes, block().bytes + table.control_block_size),
              Bytes(table.control_block_size));
    for (std::uint32_t stat_id = 0; stat_id < 22; ++stat_id) {
        EXPECT_EQ(table.get_stat(stat_id), 0U);
    }
}

TEST_P(FreshTable, GetNextOnTheUnusedSlotReadsWithAnEmptyKeyRequest) {
    Bytes record(expected.record_size, 0xA5);
    platform().result = 7;
    EXPECT_EQ(table.get_next(fast_handle(), record.data()), 7U);
    EXPECT_EQ(record, Bytes(expected.record_size, 0xA5));
    const StoreCall call = only_call(Op::read);
    ASSERT_TRUE(call.key.has_value());
    EXPECT_EQ(static_cast<const void *>(call.key->address), block().request());
    const L2vpnDbKeyData empty{};
    EXPECT_EQ(std::memcmp(&call.key->request, &empty, sizeof empty), 0);
    expect_empty_record(call.record);
    EXPECT_EQ(table.get_next(fast_handle(), record.data()), 60U);
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
}

TEST_P(FreshTable, FastIteratorNeedsNoInitialisation) {
    alarm(30); // a lock whose zero state is locked would deadlock
    const Bytes record = sample_record(expected.record_size);
    platform().iterator = store_iterator();
    EXPECT_EQ(table.create_fast_pri_iter(record.data()), fast_handle());
    EXPECT_EQ(table.create_fast_pri_iter(record.data()), store_iterator());
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(table.create_iter(0, record.data()), fast_handle());
    EXPECT_EQ(block().spin_lock_ready(), 0);
    EXPECT_EQ(table.glb_init(), 0U);
    EXPECT_EQ(table.release_iter(fast_handle()), 0U);
    EXPECT_EQ(table.create_fast_pri_iter(record.data()), fast_handle());
    alarm(0);
}

L2VPN_TEST_TYPED_TABLES(FreshTable, any_table);

} // namespace
} // namespace l2vpn::test
