// SPDX-License-Identifier: MIT
// The log: one line for each rejected call.
#include "tests/platform/log_service.h"
#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class StoreLog : public StoreTest {
protected:
    void SetUp() override {
        register_log_service();
        EXPECT_EQ(take_log(), std::vector<std::string>{});
    }
    void TearDown() override {
        StoreTest::TearDown();
        EXPECT_EQ(take_log(), std::vector<std::string>{}) << "no call was rejected";
    }

    static void expect_line(const std::string &name, std::uint32_t code) {
        const std::vector<std::string> lines = take_log();
        ASSERT_EQ(lines.size(), 1U);
        char number[16];
        std::snprintf(number, sizeof number, "0x%X", code);
        EXPECT_NE(lines[0].find(name), std::string::npos) << lines[0];
        EXPECT_NE(lines[0].find(number), std::string::npos) << lines[0];
        EXPECT_EQ(lines[0].find('\n'), std::string::npos) << lines[0];
    }
    void expect_line(std::uint32_t code) const { expect_line(table_.name, code); }

    const KeyRequest key_{facts_.keys[0], record(1)};
    Bytes stored_ = packed(record(1));
    L2vpnDbRecData request_ = record_request(stored_);
    std::uint32_t count_ = 0;
};
L2VPN_TEST_TYPED_TABLES(StoreLog, any_table);

std::uint32_t reject(const L2vpnDbRecData *, L2vpnDbRecObj *, const std::uint32_t *,
                     std::uint32_t) {
    return 7;
}

std::uint32_t reject_with_a_store_code(const L2vpnDbRecData *, L2vpnDbRecObj *,
                                       const std::uint32_t *, std::uint32_t) {
    return L2VPN_STORE_BAD_KEY_AREA;
}

TEST_P(StoreLog, HasNoLineForValidCalls) {
    EXPECT_EQ(read(facts_.keys[0], record(1)), std::nullopt);
    EXPECT_EQ(remove(record(1)), L2VPN_STORE_NOT_FOUND);
    EXPECT_EQ(write(record(1)), 0U);
    EXPECT_EQ(write(record(1)), 0U);
    EXPECT_EQ(rest_of(open()).size(), 1U);
    const L2vpnDbUpdData update{nullptr, 0, 0, reject};
    EXPECT_EQ(DAL_VELD_Update(module_, intf_, &key_.request, &request_, &update), 7U);
    const L2vpnDbUpdData misleading{nullptr, 0, 0, reject_with_a_store_code};
    EXPECT_EQ(DAL_VELD_Update(module_, intf_, &key_.request, &request_, &misleading),
              L2VPN_STORE_BAD_KEY_AREA);
}

TEST_P(StoreLog, HasOneLinePerRejectedCall) {
    L2vpnDbKeyData bad_key = key_.request;
    bad_key.keyIdLength = 0;
    L2vpnDbRecData bad_record = request_;
    ++bad_record.length;
    const L2vpnDbUpdData update{nullptr, 0, 0, nullptr};
    EXPECT_EQ(DAL_VELD_Write(module_, intf_, &bad_record), L2VPN_STORE_BAD_LENGTH);
    expect_line(L2VPN_STORE_BAD_LENGTH);
    EXPECT_EQ(DAL_VELD_Read(module_, intf_, &bad_key, &request_), L2VPN_STORE_BAD_KEY_AREA);
    expect_line(L2VPN_STORE_BAD_KEY_AREA);
    EXPECT_EQ(DAL_VELD_Update(module_, intf_, &key_.request, &request_, &update),
              L2VPN_STORE_NULL_POINTER);
    expect_line(L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(DAL_VELD_Delete(module_, intf_, &bad_key), L2VPN_STORE_BAD_KEY_AREA);
    expect_line(L2VPN_STORE_BAD_KEY_AREA);
    EXPECT_EQ(DAL_VELD_CreateIteratorByKey(module_, intf_, &bad_key), nullptr);
    expect_line(L2VPN_STORE_BAD_KEY_AREA);
    EXPECT_EQ(DAL_VELD_GetNextEntry(module_, intf_, nullptr, &request_), L2VPN_STORE_BAD_ITERATOR);
    expect_line(L2VPN_STORE_BAD_ITERATOR);
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module_, intf_, nullptr), L2VPN_STORE_BAD_ITERATOR);
    expect_line(L2VPN_STORE_BAD_ITERATOR);
    EXPECT_EQ(DAL_VELD_Count(module_, intf_, nullptr), L2VPN_STORE_NULL_POINTER);
    expect_line(L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(DAL_VELD_CountByKey(module_, intf_, &bad_key, &count_), L2VPN_STORE_BAD_KEY_AREA);
    expect_line(L2VPN_STORE_BAD_KEY_AREA);
}

TEST_P(StoreLog, ReportsFailedAllocations) {
    register_memory_service();
    ASSERT_EQ(write(record(1)), 0U);
    const L2vpnDbUpdData update{nullptr, 0, 0, reject};
    fail_allocations_after(0);
    EXPECT_EQ(DAL_VELD_Update(module_, intf_, &key_.request, &request_, &update),
              L2VPN_STORE_NO_MEMORY);
    stop_failing_allocations();
    expect_line(L2VPN_STORE_NO_MEMORY);
}

TEST_P(StoreLog, NamesUnknownTables) {
    EXPECT_EQ(DAL_VELD_Count(module_, nullptr, &count_), L2VPN_STORE_UNKNOWN_TABLE);
    expect_line("?", L2VPN_STORE_UNKNOWN_TABLE);
    L2vpnDbTblIntf unknown = *intf_;
    unknown.name = nullptr;
    EXPECT_EQ(DAL_VELD_Count(module_, &unknown, &count_), L2VPN_STORE_UNKNOWN_TABLE);
    expect_line("?", L2VPN_STORE_UNKNOWN_TABLE);
    unknown.name = "l2vpn_zz";
    EXPECT_EQ(DAL_VELD_Count(module_, &unknown, &count_), L2VPN_STORE_UNKNOWN_TABLE);
    expect_line("l2vpn_zz", L2VPN_STORE_UNKNOWN_TABLE);
    const std::string long_name(1000, 'z');
    unknown.name = long_name.c_str();
    EXPECT_EQ(DAL_VELD_Count(module_, &unknown, &count_), L2VPN_STORE_UNKNOWN_TABLE);
    const std::vector<std::string> lines = take_log();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].size(), 200U);
}

std::uint32_t other_lines = 0;
void count_line(const char *) {
    ++other_lines;
}

TEST_P(StoreLog, GoesToTheServiceRegisteredLast) {
    const auto rejected = [&] {
        EXPECT_EQ(DAL_VELD_Count(module_, intf_, nullptr), L2VPN_STORE_NULL_POINTER);
    };
    register_log_service(); // a second time
    rejected();
    expect_line(L2VPN_STORE_NULL_POINTER);
    other_lines = 0;
    const L2vpnDbLogIntf other = l2vpn_store_log_service(count_line);
    L2VPN_DB_LogIntfReg(&other);
    rejected();
    EXPECT_EQ(other_lines, 1U);
    EXPECT_EQ(take_log(), std::vector<std::string>{});
    register_log_service();
    rejected();
    EXPECT_EQ(other_lines, 1U);
    expect_line(L2VPN_STORE_NULL_POINTER);
}

TEST_P(StoreLog, IsOptional) {
    unregister_log_service();
    EXPECT_EQ(DAL_VELD_Count(module_, intf_, nullptr), L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(DAL_VELD_Count(nullptr, intf_, nullptr), L2VPN_STORE_NULL_POINTER);
    EXPECT_EQ(take_log(), std::vector<std::string>{});
}

} // namespace
} // namespace l2vpn::test
