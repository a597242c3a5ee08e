// SPDX-License-Identifier: MIT
// Compares the texts of the result codes with the codes in the headers.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::test {
namespace {

/// The codes in a header's section on result codes, by name.
std::map<std::string, std::uint32_t> result_codes(const std::string &header) {
    std::ifstream file(L2VPN_TEST_INCLUDE_DIR "/l2vpn_db/" + header);
    const std::regex definition(R"(#define (L2VPN_\w+) UINT32_C\((\w+)\))");
    std::map<std::string, std::uint32_t> codes;
    bool in_section = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("/* ---- "))
            in_section = line.starts_with("/* ---- Result codes");
        std::smatch found;
        if (in_section && std::regex_match(line, found, definition))
            codes[found[1]] = static_cast<std::uint32_t>(std::stoul(found[2], nullptr, 0));
    }
    return codes;
}

const std::string unknown = l2vpn_store_result_text(7);

TEST(ResultText, EveryCodeOfTheStoreHasADistinctText) {
    const auto codes = result_codes("memory_store.h");
    ASSERT_EQ(codes.count("L2VPN_STORE_NO_MEMORY"), 1U);
    std::map<std::string, std::string> names;
    for (const auto &[name, code] : codes) {
        const std::string text = l2vpn_store_result_text(code);
        EXPECT_NE(text, unknown) << name;
        EXPECT_TRUE(names.emplace(text, name).second) << name << " and " << names[text];
    }
}

TEST(ResultText, EveryCodeOfTheLibraryHasAText) {
    auto codes = result_codes("l2vpn_db.h");
    // Values in the same section that no function returns as its result.
    for (const char *const marker :
         {"L2VPN_DB_NO_MAPPING", "L2VPN_DB_STAT_COUNT", "L2VPN_DB_KEY_ID_LENGTH"})
        ASSERT_EQ(codes.erase(marker), 1U) << marker;
    ASSERT_EQ(codes.count("L2VPN_DB_ERR_PARAM"), 1U);
    for (const auto &[name, code] : codes)
        EXPECT_NE(l2vpn_store_result_text(code), unknown) << name;
}

TEST(ResultText, OtherCodesAreUnknown) {
    EXPECT_EQ(unknown, "unknown result code");
    for (const std::uint32_t code : {2U, 59U, 61U, 0xFFFFU, 0x10010U, 0x3FFFFFFFU, 0xFFFFFFFEU})
        EXPECT_EQ(l2vpn_store_result_text(code), unknown) << code;
}

} // namespace
} // namespace l2vpn::test
