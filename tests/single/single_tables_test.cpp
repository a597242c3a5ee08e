// SPDX-License-Identifier: MIT
// Literal values of single tables that existing binaries rely on, independent of any model.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "l2vpn_db/l2vpn_bfdlnk.h"
#include "l2vpn_db/l2vpn_eth.h"
#include "l2vpn_db/l2vpn_extnhp.h"
#include "l2vpn_db/l2vpn_ifm.h"
#include "l2vpn_db/l2vpn_mpls_tunnel.h"
#include "l2vpn_db/l2vpn_vpls_ac.h"
#include "l2vpn_db/l2vpn_vpls_exp.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"
#include "l2vpn_db/l2vpn_vpls_vsimac.h"
#include "tests/support/table_test.h"

namespace l2vpn::test {
namespace {

TEST(SchemaExamples, PackedWordsOfTheFirstTable) {
    const auto first = std::ranges::find(schema_tables, "l2vpn_bfdlnk", &SchemaTable::name);
    ASSERT_NE(first, schema_tables.end());
    EXPECT_EQ(first->module()->sizes, 0x0000001000010006U);
    EXPECT_STREQ(first->module()->fields[1].name, "pwTunnelId");
    EXPECT_EQ(first->module()->fields[1].position, 0x0000000400040001U);
}

// Computed by hand from tests/expected: existing binaries contain these numbers.
TEST(SchemaHashes, OfThreeTables) {
    const auto hash_of = [](std::string_view name) {
        const auto table = std::ranges::find(schema_tables, name, &SchemaTable::name);
        return table != schema_tables.end() ? l2vpn_schema_hash(table->module()) : 0;
    };
    EXPECT_EQ(hash_of("l2vpn_bfdlnk"), 0x001446C10D7DAB0EU);
    EXPECT_EQ(hash_of("l2vpn_eth"), 0x7C55E8AD6E6BC7E1U);
    EXPECT_EQ(hash_of("l2vpn_vpls_pw"), 0x0790CAAAA8B048AFU);
}

TEST(ConversionExamples, FieldsAfterThreePaddingBytesHaveOddOffsets) {
    reset_platform();
    L2vpnVplsAc record{};
    record.vsi = 0x11;
    record.flags = 0x22334455;
    record.srcPid = 0x66778899;
    std::array<std::uint8_t, 185> stored{};
    L2VPN_DB_L2vpnVplsAcSetAllFields(&record, stored.data());
    EXPECT_EQ(load<std::uint8_t>(&stored[40]), 0x11);
    EXPECT_EQ(load<std::uint32_t>(&stored[41]), 0x22334455U);
    EXPECT_EQ(load<std::uint32_t>(&stored[45]), 0x66778899U);
}

TEST(ServiceFieldsExamples, FourCopiesBetweenBytes92And256) {
    reset_platform();
    L2vpnVplsPw record{};
    const Bytes bytes = sample_record(sizeof record, 3);
    std::memcpy(&record, bytes.data(), sizeof record);
    const Bytes before = sample_record(276, 4);
    Bytes stored = before;
    EXPECT_EQ(L2VPN_DB_L2vpnVplsPwSetSvcFields(&record, stored.data()), 0U);
    for (std::size_t at = 0; at < stored.size(); ++at) {
        EXPECT_EQ(stored[at], at >= 92 && at < 256 ? bytes[at] : before[at]) << "byte " << at;
    }
    constexpr std::array<std::array<std::size_t, 2>, 4> copies{
        {{96, 28}, {124, 28}, {152, 52}, {204, 52}}};
    ASSERT_EQ(platform().copies.size(), copies.size());
    for (std::size_t i = 0; i < copies.size(); ++i) {
        EXPECT_EQ(platform().copies[i].destination, &stored[copies[i][0]]);
        EXPECT_EQ(platform().copies[i].count, copies[i][1]);
    }
}

TEST(KeyExamples, TunnelIdFollowsTheOneByteTunnelType) {
    L2vpnExtnhp record{};
    record.vrIndex = 1;
    record.tVrfIndex = 2;
    record.tunnelId = 3;
    record.tunnelType = 4;
    L2vpnDbKeyData request{};
    std::array<std::uint32_t, 4> key_id{};
    Bytes value(13);
    L2VPN_DB_L2vpnExtnhpSetTunnelKey(&record, &request, key_id.data(), value.data());
    EXPECT_EQ(key_id[0], 0x0309000DU);
    EXPECT_EQ(request.keyLength, 13U);
    EXPECT_EQ(value, (Bytes{1, 0, 0, 0, 2, 0, 0, 0, 4, 3, 0, 0, 0}));
}

TEST(KeyExamples, ShareVlanComesBeforeShareTypeAgainstRecordOrder) {
    L2vpnVplsVsimac record{};
    record.mainIfIndex = 1;
    record.vrIndex = 2;
    record.instanceId = 3;
    record.shareType = 4;
    record.shareVlan = 5;
    L2vpnDbKeyData request{};
    std::array<std::uint32_t, 4> key_id{};
    Bytes value(16);
    L2VPN_DB_L2vpnVplsVsimacSetShareModeKey(&record, &request, key_id.data(), value.data());
    EXPECT_EQ(key_id[0], 0x08090010U);
    EXPECT_EQ(value, (Bytes{1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 5, 0, 4, 0}));
}

TEST(UpdateOfPingResults, AlwaysReachesTheStoreAndFailsInTheSetter) {
    const auto table = std::ranges::find(typed_tables, "l2vpn_vpls_macpingup", &TypedTable::name);
    ASSERT_NE(table, typed_tables.end());
    reset_platform();
    platform().table = table->descriptor;
    std::uint32_t setter_result = 0;
    platform().during_update = [&](const L2vpnDbRecData *request, const L2vpnDbUpdData *update) {
        setter_result = update->setFields(request, nullptr, update->fieldIds, update->fieldCount);
        return 77U; // a store need not return the setter's result
    };
    const Bytes record(40);
    for (std::uint32_t id = 0; id < 16; ++id) {
        setter_result = 0;
        EXPECT_EQ(table->update_field(record.data(), id), 77U);
        EXPECT_EQ(setter_result, 1U);
        EXPECT_EQ(platform().calls.back().record->request.length, 40U);
    }
    EXPECT_EQ(platform().calls.size(), 16U);
    EXPECT_EQ(table->set_fields(nullptr, nullptr, nullptr, 0), 1U);
}

TEST(GenericInterfaceExamples, StoredLengthIsNotTheCallerLength) {
    reset_platform();
    platform().table = &g_l2vpnL2vpnExtnhpIntf;
    L2vpnExtnhp record{};
    EXPECT_EQ(L2VPN_DAL_L2vpnExtnhpRead(&record, 84), 1U);
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_EQ(L2VPN_DAL_L2vpnExtnhpRead(&record, 88), 0U);
    EXPECT_EQ(platform().calls.size(), 1U);
}

/// Literal lines.
class FormatExamples : public testing::Test {
protected:
    void SetUp() override { reset_platform(); }

    template <class Record>
    void expect_line(L2vpnAstFormatFn format, const Record &record, const char *separator,
                     const std::string &line) {
        EXPECT_EQ(format(L2VPN_AST_WHOLE_RECORD, &record, buffer.data(), 512, separator),
                  line.size());
        EXPECT_EQ(std::string(buffer.data()), line);
    }

    std::array<char, 512> buffer{};
};

TEST_F(FormatExamples, NextHop) {
    L2vpnExtnhp record{};
    record.vrIndex = 1;
    record.l2vpnIid = 2;
    record.tunnelId = 7;
    record.tunnelType = 3;
    record.srcPid = 100;
    record.svcStatus[1] = 1;
    record.batchVersion = 5;
    const std::string line =
        "vrIndex:1, l2vpnIid:2, tVrfIndex:0, tunnelId:7, tunnelType:3, srcPid:100, flags:0, "
        "svcStatus:0 1, svcErrcode:0 0, svcCtx:0x 0 0 0 0 0 0 0 0, batchVersion:5";
    EXPECT_EQ(line.size(), 155U);
    expect_line(L2VPN_AST_L2vpnExtnhpFormat, record, ", ", line);
}

TEST_F(FormatExamples, EmptySeparatorConcatenatesTheItems) {
    L2vpnExtnhp record{};
    record.vrIndex = 1;
    record.l2vpnIid = 2;
    expect_line(L2VPN_AST_L2vpnExtnhpFormat, record, "",
                "vrIndex:1l2vpnIid:2tVrfIndex:0tunnelId:0tunnelType:0srcPid:0flags:0svcStatus:0 "
                "0svcErrcode:0 0svcCtx:0x 0 0 0 0 0 0 0 0batchVersion:0");
}

TEST_F(FormatExamples, OnlyTheInterfaceIndexOfAnInterface) {
    L2vpnIfm record{};
    record.ifIndex = 4294967295;
    record.ifType = 9;
    expect_line(L2VPN_AST_L2vpnIfmFormat, record, ", ", "ifIndex:4294967295");
}

TEST_F(FormatExamples, OnlyTheKeyFieldsOfABfdLinkAndOfAnEthernetEntry) {
    L2vpnBfdlnk link{};
    link.vrIndex = 1;
    link.pwTunnelId = 2;
    link.pwTunnelType = 255;
    link.bfdStatus = 4;
    expect_line(L2VPN_AST_L2vpnBfdlnkFormat, link, ",", "vrIndex:1,pwTunnelId:2,pwTunnelType:255");
    L2vpnEth entry{};
    entry.ifIndex = 3;
    entry.vlanId = 65535;
    entry.vrId = 8;
    expect_line(L2VPN_AST_L2vpnEthFormat, entry, ",", "ifIndex:3,vlanId:65535");
}

TEST_F(FormatExamples, SeparatorAfterTheLastItem) {
    L2vpnVplsExp record{};
    record.vrIndex = 1;
    record.svcErrcode[0] = 2;
    record.svcErrcode[1] = 3;
    expect_line(L2VPN_AST_L2vpnVplsExpFormat, record, ";",
                "vrIndex:1;instanceId:0;flags:0;batchVersion:0;svcStatus:0 0;svcErrcode:2 3;");
}

TEST_F(FormatExamples, ContextWordsAtTheEndWithoutSeparator) {
    L2vpnMplsTunnel record{};
    const std::array<std::uint32_t, 8> words{0, 1, 0xA, 0xFF, 0xDEADBEEF, 0x10, 0xFFFFFFFF, 0xC};
    static_assert(sizeof record.svcCtx == sizeof words);
    std::memcpy(record.svcCtx, words.data(), sizeof words);
    expect_line(L2VPN_AST_L2vpnMplsTunnelFormat, record, ";",
                "vrIndex:0;vrfIndex:0;tunnelId:0;tunnelType:0;svcStatus:0 0;svcErrcode:0 0;"
                "svcCtx:0x 0 1 a ff deadbeef 10 ffffffff c");
}

} // namespace
} // namespace l2vpn::test
