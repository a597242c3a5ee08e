// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "l2vpn_db/l2vpn_db.h"

namespace {

class ModuleInterface : public testing::Test {
protected:
    void TearDown() override { g_l2vpnDbModuleIntf = {}; }

    static std::array<std::uint64_t, 3> words() {
        std::array<std::uint64_t, 3> copy{};
        static_assert(sizeof g_l2vpnDbModuleIntf == sizeof copy);
        std::memcpy(copy.data(), L2VPN_DB_ModuleIntf(), sizeof copy);
        return copy;
    }
};

TEST_F(ModuleInterface, AccessorReturnsTheExportedBlock) {
    EXPECT_EQ(L2VPN_DB_ModuleIntf(), &g_l2vpnDbModuleIntf);
}

TEST_F(ModuleInterface, EachRegistrationSetsItsOwnWords) {
    const L2vpnDbMemIntf memory{{0x1111222233334444, 0x5555666677778888}};
    const L2vpnDbLogIntf log{0x9999AAAABBBBCCCC};
    L2VPN_DB_MemIntfReg(&memory);
    EXPECT_EQ(words(), (std::array<std::uint64_t, 3>{0x1111222233334444, 0x5555666677778888, 0}));
    L2VPN_DB_LogIntfReg(&log);
    EXPECT_EQ(words(), (std::array<std::uint64_t, 3>{0x1111222233334444, 0x5555666677778888,
                                                     0x9999AAAABBBBCCCC}));
}

TEST_F(ModuleInterface, LogCanBeRegisteredFirst) {
    const L2vpnDbMemIntf memory{{1, 2}};
    const L2vpnDbLogIntf log{3};
    L2VPN_DB_LogIntfReg(&log);
    EXPECT_EQ(words(), (std::array<std::uint64_t, 3>{0, 0, 3}));
    L2VPN_DB_MemIntfReg(&memory);
    EXPECT_EQ(words(), (std::array<std::uint64_t, 3>{1, 2, 3}));
}

TEST_F(ModuleInterface, LaterRegistrationReplacesOnlyItsOwnWords) {
    const L2vpnDbMemIntf memory{{1, 2}};
    const L2vpnDbLogIntf log{3};
    L2VPN_DB_MemIntfReg(&memory);
    L2VPN_DB_LogIntfReg(&log);
    const L2vpnDbMemIntf other_memory{{10, 20}};
    L2VPN_DB_MemIntfReg(&other_memory);
    EXPECT_EQ(words(), (std::array<std::uint64_t, 3>{10, 20, 3}));
    const L2vpnDbLogIntf other_log{30};
    L2VPN_DB_LogIntfReg(&other_log);
    EXPECT_EQ(words(), (std::array<std::uint64_t, 3>{10, 20, 30}));
    const L2vpnDbMemIntf none{{0, 0}};
    L2VPN_DB_MemIntfReg(&none);
    EXPECT_EQ(words(), (std::array<std::uint64_t, 3>{0, 0, 30}));
}

TEST(ResultCodes, HaveTheirInterfaceValues) {
    EXPECT_EQ(L2VPN_DB_OK, 0U);
    EXPECT_EQ(L2VPN_DB_ERR_PARAM, 1U);
    EXPECT_EQ(L2VPN_DB_NO_MORE, 60U);
    EXPECT_EQ(L2VPN_DB_NO_MAPPING, 0x3FFFFFFFU);
    EXPECT_EQ(L2VPN_AST_ERR, 0xFFFFFFFFU);
}

} // namespace
