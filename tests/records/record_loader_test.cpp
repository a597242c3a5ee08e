// SPDX-License-Identifier: MIT
// Loads of valid files, replacing and merging, and failures during a load.
#include "failing_store.h"
#include "store_fixture.h"

#include <csignal>
#include <cstring>

#include <fmt/format.h>

#include "l2vpn_db/l2vpn_extnhp.h"
#include "l2vpn_db/l2vpn_oam_staticmac.h"
#include "l2vpn_db/l2vpn_vll_inst.h"
#include "l2vpn_db/l2vpn_vpls_inst.h"
#include "l2vpn_db/l2vpn_vpls_macpingup.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"
#include "l2vpn_db/memory_store.h"
#include "records/interrupt.h"

namespace l2vpn::test {
namespace {

using RecordLoader = RecordFileTest;

TEST_F(RecordLoader, LargestNumbers) {
    expect_loaded(
        R"({"l2vpn_vpls_pw": [{"vrIndex": 4294967295, "pwTunnelId": 7, "pwTunnelType": 255,
             "mtu": 65535, "timeStampSvc": 18446744073709551615}]})");
    L2vpnVplsPw pw{};
    pw.vrIndex = 4294967295;
    pw.pwTunnelId = 7;
    pw.pwTunnelType = 255;
    ASSERT_EQ(L2VPN_DB_L2vpnVplsPwRead(&pw), L2VPN_DB_OK);
    EXPECT_EQ(pw.mtu, 65535);
    EXPECT_EQ(pw.timeStampSvc, UINT64_MAX);
    EXPECT_EQ(pw.vcId, 0U) << "an omitted field";
}

TEST_F(RecordLoader, AddressStartsWithTheMostSignificantByte) {
    expect_loaded(
        R"({"l2vpn_vpls_pw": [{"vrIndex": 2, "pwTunnelId": 0, "pwTunnelType": 0, "peerIp": "192.0.2.1"}]})");
    L2vpnVplsPw pw{};
    pw.vrIndex = 2;
    ASSERT_EQ(L2VPN_DB_L2vpnVplsPwRead(&pw), L2VPN_DB_OK);
    EXPECT_EQ(pw.peerIp, 0xC0000201U);
}

TEST_F(RecordLoader, PairsAndBytesKeepTheirOrder) {
    expect_loaded(
        R"({"l2vpn_oam_staticmac": [{"vrIndex": 0, "instanceId": 0, "macAddr": "00:1b:44:11:3a:B7", "svcStatus": [1, 2],
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

TEST_F(RecordLoader, BytesOfAContextFillBothElements) {
    std::string bytes = "00:01:02:03:04:05:06:07:08:09:0a:0b:0c:0d:0e:0f";
    bytes += ":10:11:12:13:14:15:16:17:18:19:1a:1b:1c:1d:1e:1f";
    expect_loaded(R"({"l2vpn_extnhp": [{"vrIndex": 9, "l2vpnIid": 0, "tVrfIndex": 0, "tunnelId": 0,
             "tunnelType": 0, "svcCtx": ")" +
                  bytes + R"("}]})");
    L2vpnExtnhp hop{};
    hop.vrIndex = 9;
    ASSERT_EQ(L2VPN_DB_L2vpnExtnhpRead(&hop), L2VPN_DB_OK);
    EXPECT_EQ(hop.svcCtx[0][15], 15);
    EXPECT_EQ(hop.svcCtx[1][0], 16);
    EXPECT_EQ(hop.svcCtx[1][15], 31);
}

TEST_F(RecordLoader, TableWithoutABatchVersion) {
    expect_loaded(R"({"l2vpn_vpls_macpingup": [{"vrId": 3, "vsiInstId": 0, "userVlanId": 0,
             "macAddr": "00:00:00:00:00:00", "timeStamp": 12, "tnlType": 4}]})");
    L2vpnVplsMacpingup result{};
    result.vrId = 3;
    ASSERT_EQ(L2VPN_DB_L2vpnVplsMacpingupRead(&result), L2VPN_DB_OK);
    EXPECT_EQ(result.timeStamp, 12U);
    EXPECT_EQ(result.tnlType, 4);
}

TEST_F(RecordLoader, FilesWithoutRecordsAreValid) {
    expect_loaded("{}");
    expect_loaded(R"({"l2vpn_stp": []})");
    EXPECT_TRUE(store_contents().empty());
}

// ---- Records that exist -------------------------------------------------------------------------

L2vpnVplsInst instance(std::uint32_t id, std::uint8_t state = 0, std::uint32_t age = 0) {
    L2vpnVplsInst record{};
    record.vrIndex = 6;
    record.instanceId = id;
    record.state = state;
    record.macAgeTime = age;
    return record;
}

/// The stored instance's state and ageing time.
std::pair<int, std::uint32_t> stored(std::uint32_t id) {
    L2vpnVplsInst record = instance(id);
    EXPECT_EQ(L2VPN_DB_L2vpnVplsInstRead(&record), L2VPN_DB_OK) << id;
    return {record.state, record.macAgeTime};
}

TEST_F(RecordLoader, ReplacesWholeRecords) {
    const L2vpnVplsInst before = instance(2, 7, 300);
    ASSERT_EQ(L2VPN_DB_L2vpnVplsInstWrite(&before), L2VPN_DB_OK);
    const auto loaded = load(R"({"l2vpn_vpls_inst": [{"vrIndex": 6, "instanceId": 2, "state": 9},
                                                     {"vrIndex": 6, "instanceId": 3}]})");
    EXPECT_EQ(loaded.errors(), "");
    EXPECT_EQ(loaded.stored, 2U);
    EXPECT_EQ(loaded.replaced, 1U);
    EXPECT_EQ(stored(2), std::pair(9, 0U));
}

TEST_F(RecordLoader, MergesIntoRecords) {
    const L2vpnVplsInst before = instance(2, 7, 300);
    ASSERT_EQ(L2VPN_DB_L2vpnVplsInstWrite(&before), L2VPN_DB_OK);
    const auto loaded = load("{\"l2vpn_vpls_inst\": ["
                             "{\"vrIndex\": 6, \"instanceId\": 2, \"state\": 0},"
                             "{\"vrIndex\": 6, \"instanceId\": 3, \"state\": 1},"
                             "{\"vrIndex\": 6, \"instanceId\": 3, \"macAgeTime\": 60}]}",
                             {.merge = true});
    EXPECT_EQ(loaded.errors(), "");
    EXPECT_EQ(loaded.stored, 3U);
    EXPECT_EQ(loaded.replaced, 2U);
    EXPECT_EQ(stored(2), std::pair(0, 300U));
    EXPECT_EQ(stored(3), std::pair(1, 60U));
}

TEST_F(RecordLoader, MergesCsv) {
    const L2vpnVplsInst before = instance(2, 7, 300);
    ASSERT_EQ(L2VPN_DB_L2vpnVplsInstWrite(&before), L2VPN_DB_OK);
    const std::string text = "vrIndex,instanceId,state\n6,2,9\n";
    expect_loaded(text, {.csv_table = "l2vpn_vpls_inst", .merge = true});
    EXPECT_EQ(stored(2), std::pair(9, 300U));
    expect_loaded(text, {.csv_table = "l2vpn_vpls_inst"});
    EXPECT_EQ(stored(2), std::pair(9, 0U));
}

TEST_F(RecordLoader, LaterRecordsReplaceEarlierOnes) {
    const auto loaded =
        load("{\"l2vpn_vpls_inst\": [{\"vrIndex\": 6, \"instanceId\": 2, \"state\": 1}]}\n"
             "{\"l2vpn_vpls_inst\": [{\"vrIndex\": 6, \"instanceId\": 2}]}\n");
    EXPECT_EQ(loaded.errors(), "");
    EXPECT_EQ(loaded.stored, 2U);
    EXPECT_EQ(loaded.replaced, 1U);
    EXPECT_EQ(stored(2), std::pair(0, 0U));
}

TEST_F(RecordLoader, KeepsGoing) {
    const auto loaded = load("{\"l2vpn_stp\": [{\"ifIndex\": 1}]}\nnonsense\n"
                             "{\"l2vpn_stp\": [{\"flags\": 2}, {\"ifIndex\": 2}]}\n",
                             {.keep_going = true});
    EXPECT_EQ(loaded.diagnostics.count, 2U);
    EXPECT_EQ(loaded.stored, 2U);
    EXPECT_EQ(store_contents()["l2vpn_stp"].size(), 2U);
}

// ---- Failures -----------------------------------------------------------------------------------

constexpr const char *three_tables =
    "{\"l2vpn_vpls_inst\": [{\"vrIndex\": 6, \"instanceId\": 1, \"state\": 1},\n"
    "                     {\"vrIndex\": 6, \"instanceId\": 2, \"state\": 2}],\n"
    " \"l2vpn_vll_inst\":  [{\"vrIndex\": 6, \"instanceId\": 3},\n"
    "                     {\"vrIndex\": 6, \"instanceId\": 4}],\n"
    " \"l2vpn_stp\":       [{\"ifIndex\": 6}]}";

class FailingLoad : public RecordFileTest {
protected:
    /// Starts with a record that the file replaces.
    void SetUp() override {
        RecordFileTest::SetUp();
        const L2vpnVplsInst older = instance(2, 77, 5);
        ASSERT_EQ(L2VPN_DB_L2vpnVplsInstWrite(&older), L2VPN_DB_OK);
        before = store_contents();
    }

    std::map<std::string, std::vector<Record>> before;
    FailingStore failing;
};

TEST_F(FailingLoad, ARejectedWriteChangesNothing) {
    constexpr unsigned records = 5;
    for (unsigned passed = 0; passed < records; ++passed) {
        // Rejects only one call, because undoing writes, too.
        FailingStore::write = [left = passed](std::string_view) mutable {
            return left-- == 0 ? std::uint32_t{L2VPN_STORE_BAD_LENGTH} : 0;
        };
        const auto loaded = load(three_tables);
        EXPECT_EQ(loaded.diagnostics.count, 1U);
        EXPECT_EQ(loaded.failure, "");
        EXPECT_EQ(loaded.stored + loaded.replaced + loaded.tables.size(), 0U);
        EXPECT_EQ(store_contents(), before) << passed;
    }
    FailingStore::write = nullptr;
    expect_loaded(three_tables);
    EXPECT_EQ(stored(2), std::pair(2, 0U));
}

TEST_F(FailingLoad, RejectedRecordIsNamed) {
    FailingStore::write = [](std::string_view table) {
        return table == "l2vpn_stp" ? std::uint32_t{L2VPN_STORE_BAD_LENGTH} : 0;
    };
    EXPECT_EQ(load(three_tables).errors(),
              path +
                  fmt::format(":5: table \"l2vpn_stp\", primary key ifIndex 6: the store rejected "
                              "it with {:#x}",
                              L2VPN_STORE_BAD_LENGTH));
}

TEST_F(FailingLoad, StoreOutOfMemoryIsAFailureEvenWhenKeepingGoing) {
    for (const bool keep_going : {false, true}) {
        FailingStore::write = [](std::string_view table) {
            return table == "l2vpn_stp" ? std::uint32_t{L2VPN_STORE_NO_MEMORY} : 0;
        };
        const auto loaded = load(three_tables, {.keep_going = keep_going});
        EXPECT_EQ(loaded.errors(), path + ": out of memory");
        EXPECT_EQ(loaded.stored, 0U);
        EXPECT_EQ(store_contents(), before);
    }
}

TEST_F(FailingLoad, RecordsThatCannotBeRestoredAreCounted) {
    FailingStore::write = [](std::string_view table) {
        return table == "l2vpn_stp" ? std::uint32_t{L2VPN_STORE_NO_MEMORY} : 0;
    };
    FailingStore::remove = [](std::string_view table) {
        return table == "l2vpn_vll_inst" ? std::uint32_t{L2VPN_STORE_BAD_ITERATOR} : 0;
    };
    EXPECT_EQ(load(three_tables).errors(),
              path + ": 2 records could not be restored after: out of memory");
    FailingStore::remove = nullptr;
    clear_store();
}

TEST_F(FailingLoad, AnInterruptChangesNothing) {
    for (const bool keep_going : {false, true}) {
        records::LoadOptions options{.keep_going = keep_going};
        options.progress = [](std::size_t stored, const records::InputFile &) {
            records::interrupt = stored == 3 ? SIGINT : 0;
        };
        EXPECT_THROW(load(three_tables, options), records::Interrupted);
        EXPECT_EQ(store_contents(), before);
    }
}

TEST_F(FailingLoad, UnreadableFiles) {
    EXPECT_EQ(records::load("/no/such/file").errors(),
              "/no/such/file: cannot be read: No such file or directory");
    EXPECT_EQ(records::load("/").errors(), "/: cannot be read: Is a directory");
    EXPECT_EQ(store_contents(), before);
}

} // namespace
} // namespace l2vpn::test
