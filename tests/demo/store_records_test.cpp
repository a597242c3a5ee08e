// SPDX-License-Identifier: MIT
// What a right file leaves in the store, and what a refusal in the middle does.
#include "loader_test.h"

#include <cstring>

#include "l2vpn_db/l2vpn_extnhp.h"
#include "l2vpn_db/l2vpn_oam_staticmac.h"
#include "l2vpn_db/l2vpn_vll_inst.h"
#include "l2vpn_db/l2vpn_vpls_inst.h"
#include "l2vpn_db/l2vpn_vpls_macpingup.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"
#include "l2vpn_db/memory_store.h"

namespace l2vpn::test {
namespace {

class StoreRecords : public LoaderTest {
protected:
    demo::RecordFile read_right(const std::string &text) const {
        demo::RecordFile file = read(text);
        EXPECT_EQ(file.errors, std::vector<std::string>{});
        return file;
    }

    void load(const std::string &text) const {
        EXPECT_EQ(demo::store_records(read_right(text)), std::nullopt);
    }
};

TEST_F(StoreRecords, NumbersUpToTheHighest) {
    load(R"({"l2vpn_vpls_pw": [{"vrIndex": 4294967295, "pwTunnelId": 7, "pwTunnelType": 255,
             "mtu": 65535, "timeStampSvc": 18446744073709551615}]})");
    L2vpnVplsPw pw{};
    pw.vrIndex = 4294967295;
    pw.pwTunnelId = 7;
    pw.pwTunnelType = 255;
    ASSERT_EQ(L2VPN_DB_L2vpnVplsPwRead(&pw), L2VPN_DB_OK);
    EXPECT_EQ(pw.mtu, 65535);
    EXPECT_EQ(pw.timeStampSvc, UINT64_MAX);
    EXPECT_EQ(pw.vcId, 0U) << "a field that is not given";
}

TEST_F(StoreRecords, AddressHasItsFirstPartInTheHighestByte) {
    load(R"({"l2vpn_vpls_pw": [{"vrIndex": 2, "peerIp": "192.0.2.1"}]})");
    L2vpnVplsPw pw{};
    pw.vrIndex = 2;
    ASSERT_EQ(L2VPN_DB_L2vpnVplsPwRead(&pw), L2VPN_DB_OK);
    EXPECT_EQ(pw.peerIp, 0xC0000201U);
}

TEST_F(StoreRecords, PairsAndBytesInTheirOrder) {
    load(R"({"l2vpn_oam_staticmac": [{"macAddr": "00:1b:44:11:3a:B7", "svcStatus": [1, 2],
             "svcErrcode": [0, 255], "rsv2": "0a:0b:0c"}]})");
    L2vpnOamStaticmac mac{};
    const std::uint8_t address[6] = {0x00, 0x1b, 0x44, 0x11, 0x3a, 0xb7};
    std::memcpy(mac.macAddr, address, sizeof address);
    ASSERT_EQ(L2VPN_DB_L2vpnOamStaticmacRead(&mac), L2VPN_DB_OK);
    EXPECT_EQ(mac.svcStatus[0], 1);
    EXPECT_EQ(mac.svcStatus[1], 2);
    EXPECT_EQ(mac.svcErrcode[0], 0);
    EXPECT_EQ(mac.svcErrcode[1], 255);
    EXPECT_EQ(mac.rsv2[0], 0x0a);
    EXPECT_EQ(mac.rsv2[2], 0x0c);
}

TEST_F(StoreRecords, BytesOfAContextFillBothElements) {
    std::string bytes = "00:01:02:03:04:05:06:07:08:09:0a:0b:0c:0d:0e:0f";
    bytes += ":10:11:12:13:14:15:16:17:18:19:1a:1b:1c:1d:1e:1f";
    load(R"({"l2vpn_extnhp": [{"vrIndex": 9, "svcCtx": ")" + bytes + R"("}]})");
    L2vpnExtnhp hop{};
    hop.vrIndex = 9;
    ASSERT_EQ(L2VPN_DB_L2vpnExtnhpRead(&hop), L2VPN_DB_OK);
    EXPECT_EQ(hop.svcCtx[0][15], 15);
    EXPECT_EQ(hop.svcCtx[1][0], 16);
    EXPECT_EQ(hop.svcCtx[1][15], 31);
}

TEST_F(StoreRecords, TableWithoutABatchVersion) {
    load(R"({"l2vpn_vpls_macpingup": [{"vrId": 3, "timeStamp": 12, "tnlType": 4}]})");
    L2vpnVplsMacpingup result{};
    result.vrId = 3;
    ASSERT_EQ(L2VPN_DB_L2vpnVplsMacpingupRead(&result), L2VPN_DB_OK);
    EXPECT_EQ(result.timeStamp, 12U);
    EXPECT_EQ(result.tnlType, 4);
}

TEST_F(StoreRecords, NoTablesAndNoRecordsAreRight) {
    const auto before = stored_counts();
    load("{}");
    load(R"({"l2vpn_stp": []})");
    EXPECT_EQ(stored_counts(), before);
}

// ---- A refusal in the middle -----------------------------------------------------------------

constexpr const char *three_tables =
    "{\"l2vpn_vpls_inst\": [{\"vrIndex\": 6, \"instanceId\": 1, \"state\": 1},\n"
    "                     {\"vrIndex\": 6, \"instanceId\": 2, \"state\": 2}],\n"
    " \"l2vpn_vll_inst\":  [{\"vrIndex\": 6, \"instanceId\": 3},\n"
    "                     {\"vrIndex\": 6, \"instanceId\": 4}],\n"
    " \"l2vpn_stp\":       [{\"ifIndex\": 6}]}";

/// Refuses instance 4 and stores the others.
std::uint32_t refuse_fourth(const void *record, std::uint32_t length) {
    return static_cast<const L2vpnVllInst *>(record)->instanceId == 4
               ? L2VPN_STORE_NO_MEMORY
               : L2VPN_DAL_L2vpnVllInstWrite(record, length);
}

std::uint32_t refuse(const void *, std::uint32_t) {
    return L2VPN_STORE_NULL_POINTER;
}

TEST_F(StoreRecords, RefusalRemovesWhatWasStored) {
    const auto before = stored_counts();
    demo::RecordFile file = read_right(three_tables);
    file.tables.at(1).table.access->write = refuse_fourth;
    EXPECT_EQ(demo::store_records(file),
              path + ":4: table l2vpn_vll_inst, primary key vrIndex 6, instanceId 4: the store "
                     "refused the record with result 0x1000e; nothing of the file is stored");
    EXPECT_EQ(stored_counts(), before);
}

TEST_F(StoreRecords, RefusalPutsBackWhatWasReplaced) {
    L2vpnVplsInst older{};
    older.vrIndex = 6;
    older.instanceId = 2;
    older.state = 77;
    ASSERT_EQ(L2VPN_DB_L2vpnVplsInstWrite(&older), L2VPN_DB_OK);
    const auto before = stored_counts();

    demo::RecordFile file = read_right(three_tables);
    file.tables.at(1).table.access->write = refuse_fourth;
    EXPECT_NE(demo::store_records(file), std::nullopt);
    EXPECT_EQ(stored_counts(), before);
    older.state = 0;
    ASSERT_EQ(L2VPN_DB_L2vpnVplsInstRead(&older), L2VPN_DB_OK);
    EXPECT_EQ(older.state, 77);

    file.tables.at(1).table.access->write = L2VPN_DAL_L2vpnVllInstWrite;
    EXPECT_EQ(demo::store_records(file), std::nullopt);
    ASSERT_EQ(L2VPN_DB_L2vpnVplsInstRead(&older), L2VPN_DB_OK);
    EXPECT_EQ(older.state, 2) << "a right load replaces it";
}

TEST_F(StoreRecords, SaysWhatCouldNotBePutBack) {
    demo::RecordFile file = read_right(three_tables);
    file.tables.at(0).table.access->remove = refuse;
    file.tables.at(2).table.access->write = refuse;
    EXPECT_EQ(demo::store_records(file),
              path + ":5: table l2vpn_stp, primary key ifIndex 6: the store refused the record "
                     "with result 0x10003; 2 records could not be put back");
}

} // namespace
} // namespace l2vpn::test
