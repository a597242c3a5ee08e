// SPDX-License-Identifier: MIT
// The platform's small functions: bounded copy, bounded print, atomic add.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <thread>
#include <vector>

#include "l2vpn_db/platform.h"

namespace l2vpn::test {
namespace {

using Text = std::array<char, 8>;
constexpr Text untouched{'#', '#', '#', '#', '#', '#', '#', '#'};

TEST(BoundedCopy, CopiesExactlyTheCount) {
    Text to = untouched;
    EXPECT_EQ(memcpy_s(to.data(), 3, "abcdef", 3), 0);
    EXPECT_EQ(std::string_view(to.data(), to.size()), "abc#####");
    EXPECT_EQ(memcpy_s(to.data(), to.size(), "xyz", 1), 0);
    EXPECT_EQ(std::string_view(to.data(), to.size()), "xbc#####");
    EXPECT_EQ(memcpy_s(to.data(), 0, "xyz", 0), 0);
    EXPECT_EQ(memcpy_s(to.data(), to.size(), to.data(), 0), 0);
    EXPECT_EQ(std::string_view(to.data(), to.size()), "xbc#####");
}

TEST(BoundedCopy, RefusesWithACodeForEachReasonAndCopiesNothing) {
    Text to = untouched;
    const int null = memcpy_s(nullptr, 8, "abc", 3);
    const int too_much = memcpy_s(to.data(), 2, "abc", 3);
    const int overlap = memcpy_s(to.data(), 4, to.data() + 3, 4);
    EXPECT_NE(null, 0);
    EXPECT_NE(too_much, 0);
    EXPECT_NE(overlap, 0);
    EXPECT_NE(null, too_much);
    EXPECT_NE(null, overlap);
    EXPECT_NE(too_much, overlap);
    EXPECT_EQ(memcpy_s(to.data(), 8, nullptr, 3), null);
    EXPECT_EQ(memcpy_s(nullptr, 0, nullptr, 0), null);
    EXPECT_EQ(memcpy_s(to.data(), 8, to.data(), 1), overlap);
    EXPECT_EQ(memcpy_s(to.data() + 3, 4, to.data(), 4), overlap);
    EXPECT_EQ(to, untouched);
}

TEST(BoundedCopy, TakesNeighbours) {
    Text text{'a', 'b', 'c', 'd', '#', '#', '#', '#'};
    EXPECT_EQ(memcpy_s(text.data() + 4, 4, text.data(), 4), 0);
    EXPECT_EQ(std::string_view(text.data(), text.size()), "abcdabcd");
    text[4] = 'x';
    EXPECT_EQ(memcpy_s(text.data(), 4, text.data() + 4, 4), 0);
    EXPECT_EQ(std::string_view(text.data(), text.size()), "xbcdxbcd");
}

TEST(BoundedPrint, ReturnsTheLengthOfWhatFits) {
    Text to = untouched;
    EXPECT_EQ(sprintf_s(to.data(), to.size(), "%s%u", "abc", 1234U), 7);
    EXPECT_STREQ(to.data(), "abc1234");
    EXPECT_EQ(sprintf_s(to.data(), 1, "%s", ""), 0);
    EXPECT_STREQ(to.data(), "");
}

TEST(BoundedPrint, LeavesAnEmptyStringOfWhatDoesNotFit) {
    Text to = untouched;
    EXPECT_LT(sprintf_s(to.data(), 4, "%s", "abcd"), 0);
    EXPECT_STREQ(to.data(), "");
    EXPECT_EQ(std::string_view(to.data() + 4, 4), "####");
    to = untouched;
    EXPECT_LT(sprintf_s(to.data(), 1, "%s", "a"), 0);
    EXPECT_STREQ(to.data(), "");
}

TEST(BoundedPrint, RefusesNullArgumentsAndBuffersOfNothing) {
    Text to = untouched;
    const char *volatile format = nullptr;
    EXPECT_LT(sprintf_s(nullptr, 8, "a"), 0);
    EXPECT_LT(sprintf_s(to.data(), 0, "a"), 0);
    EXPECT_EQ(to, untouched);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    EXPECT_LT(sprintf_s(to.data(), to.size(), format), 0);
#pragma GCC diagnostic pop
    EXPECT_STREQ(to.data(), "");
}

TEST(AtomicAdd, ReturnsTheSumModulo32Bits) {
    std::uint32_t counter = 0xFFFFFFFE;
    EXPECT_EQ(ZAV_AtomicAdd(&counter, 1), 0xFFFFFFFFU);
    EXPECT_EQ(ZAV_AtomicAdd(&counter, 3), 2U);
    EXPECT_EQ(ZAV_AtomicAdd(&counter, 0), 2U);
    EXPECT_EQ(counter, 2U);
}

TEST(AtomicAdd, LosesNothingBetweenThreads) {
    std::uint32_t counter = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int n = 0; n < 50000; ++n) {
                    ZAV_AtomicAdd(&counter, 3);
                }
            });
        }
    }
    EXPECT_EQ(counter, 600000U);
}

} // namespace
} // namespace l2vpn::test
