// SPDX-License-Identifier: MIT
// memcpy_s, sprintf_s and ZAV_AtomicAdd.
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
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

TEST(BoundedCopy, CopiesEveryLengthExactly) {
    std::array<char, 200> from{};
    for (std::size_t i = 0; i < from.size(); ++i)
        from[i] = static_cast<char>(i + 1);
    for (std::size_t count = 0; count <= 150; ++count) {
        std::array<char, 200> to{};
        std::array<char, 200> expected{};
        std::copy_n(from.data() + 1, count, expected.data() + 3);
        ASSERT_EQ(memcpy_s(to.data() + 3, count, from.data() + 1, count), 0);
        ASSERT_EQ(to, expected) << count;
    }
}

TEST(BoundedCopy, RejectsWithACodePerReasonAndCopiesNothing) {
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

TEST(BoundedCopy, AcceptsAdjacentRanges) {
    Text text{'a', 'b', 'c', 'd', '#', '#', '#', '#'};
    EXPECT_EQ(memcpy_s(text.data() + 4, 4, text.data(), 4), 0);
    EXPECT_EQ(std::string_view(text.data(), text.size()), "abcdabcd");
    text[4] = 'x';
    EXPECT_EQ(memcpy_s(text.data(), 4, text.data() + 4, 4), 0);
    EXPECT_EQ(std::string_view(text.data(), text.size()), "xbcdxbcd");
}

// Every distance between two ranges of every length, in one buffer.
TEST(BoundedCopy, CopiesUnlessTheRangesOverlap) {
    constexpr std::size_t size = 64;
    for (std::size_t to = 0; to <= size; ++to) {
        for (std::size_t from = 0; from <= size; ++from) {
            for (std::size_t count = 0; count <= size - std::max(to, from); ++count) {
                std::array<std::uint8_t, size> bytes{};
                for (std::size_t i = 0; i < size; ++i) {
                    bytes[i] = static_cast<std::uint8_t>(i + 1);
                }
                std::array<std::uint8_t, size> expected = bytes;
                const bool overlap = from < to + count && to < from + count;
                for (std::size_t i = 0; i < count && !overlap; ++i) {
                    expected[to + i] = bytes[from + i];
                }
                const int code = memcpy_s(bytes.data() + to, size - to, bytes.data() + from, count);
                ASSERT_EQ(code != 0, overlap) << to << ' ' << from << ' ' << count;
                ASSERT_EQ(bytes, expected) << to << ' ' << from << ' ' << count;
            }
        }
    }
}

TEST(BoundedCopy, ChecksTheSizeFirst) {
    Text to = untouched;
    for (std::size_t size = 0; size < to.size(); ++size) {
        EXPECT_NE(memcpy_s(to.data(), size, "abcdefgh", size + 1), 0);
        EXPECT_NE(memcpy_s(to.data(), size, "abcdefgh", SIZE_MAX), 0);
    }
    EXPECT_EQ(to, untouched);
    EXPECT_EQ(memcpy_s(to.data(), SIZE_MAX, "abc", 3), 0);
    EXPECT_EQ(std::string_view(to.data(), to.size()), "abc#####");
}

TEST(BoundedPrint, ReturnsTheLength) {
    Text to = untouched;
    EXPECT_EQ(sprintf_s(to.data(), to.size(), "%s%u", "abc", 1234U), 7);
    EXPECT_STREQ(to.data(), "abc1234");
    EXPECT_EQ(sprintf_s(to.data(), 1, "%s", ""), 0);
    EXPECT_STREQ(to.data(), "");
}

TEST(BoundedPrint, LeavesAnEmptyStringIfTheTextDoesNotFit) {
    Text to = untouched;
    EXPECT_LT(sprintf_s(to.data(), 4, "%s", "abcd"), 0);
    EXPECT_STREQ(to.data(), "");
    EXPECT_EQ(std::string_view(to.data() + 4, 4), "####");
    to = untouched;
    EXPECT_LT(sprintf_s(to.data(), 1, "%s", "a"), 0);
    EXPECT_STREQ(to.data(), "");
}

TEST(BoundedPrint, RejectsNullArgumentsAndEmptyBuffers) {
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

// ---- Against the C library ----------------------------------------------------------------------

/// Prints with both into buffers of every length, on the heap, where a sanitizer detects each byte
/// written after them.
template <class Print, class Reference>
void expect_same(const char *format, Print print, Reference reference) {
    SCOPED_TRACE(format);
    const int length = reference(nullptr, std::size_t{0});
    ASSERT_GE(length, 0);
    std::string expected(static_cast<std::size_t>(length) + 1, '#');
    ASSERT_EQ(reference(expected.data(), expected.size()), length);
    for (std::size_t size = 1; size <= expected.size() + 9; ++size) {
        const std::size_t around = 16;
        std::vector<char> buffer(around + size + around, '#');
        const int printed = print(buffer.data() + around, size);
        const std::vector<char> exact_buffer = [&] {
            std::vector<char> exact(size, '#');
            EXPECT_EQ(print(exact.data(), size), printed);
            return exact;
        }();
        ASSERT_TRUE(
            std::equal(exact_buffer.begin(), exact_buffer.begin() + 1, buffer.begin() + around));
        if (size < expected.size()) {
            ASSERT_LT(printed, 0) << size;
            ASSERT_EQ(buffer[around], '\0') << size;
        } else {
            ASSERT_EQ(printed, length) << size;
            ASSERT_EQ(std::memcmp(buffer.data() + around, expected.data(), expected.size()), 0)
                << size << ": " << (buffer.data() + around);
        }
        for (std::size_t i = 0; i < around; ++i) {
            ASSERT_EQ(buffer[i], '#') << "before a buffer of " << size;
            ASSERT_EQ(buffer[around + size + i], '#') << "after a buffer of " << size;
        }
    }
}

// The formats are literals, so that the compiler checks them against their arguments.
#define EXPECT_PRINTS_AS_IN_C(...)                                                                 \
    expect_same(                                                                                   \
        #__VA_ARGS__,                                                                              \
        [&](char *to, std::size_t size) { return sprintf_s(to, size, __VA_ARGS__); },              \
        [&](char *to, std::size_t size) { return std::snprintf(to, size, __VA_ARGS__); })

constexpr std::uint32_t numbers[] = {
    0,          1,          7,          8,          9,          10,        11,        15,
    16,         17,         42,         99,         100,        101,       127,       128,
    255,        256,        999,        1000,       4095,       4096,      9999,      10000,
    32767,      32768,      65535,      65536,      99999,      100000,    999999,    1000000,
    9999999,    10000000,   99999999,   100000000,  268435455,  268435456, 999999999, 1000000000,
    2147483647, 2147483648, 3999999999, 4000000000, 4294967294, 4294967295};

TEST(BoundedPrintAsInC, Unsigned) {
    for (const std::uint32_t number : numbers) {
        EXPECT_PRINTS_AS_IN_C("%u", number);
        EXPECT_PRINTS_AS_IN_C("%x", number);
        EXPECT_PRINTS_AS_IN_C("<%u>", number);
        EXPECT_PRINTS_AS_IN_C("0x%x,", number);
        EXPECT_PRINTS_AS_IN_C(" %x", number);
        EXPECT_PRINTS_AS_IN_C(" %x ", number);
        EXPECT_PRINTS_AS_IN_C("%u%u", number, ~number);
        EXPECT_PRINTS_AS_IN_C("%x%u%x", number, number, ~number);
    }
}

TEST(BoundedPrintAsInC, RandomUnsigned) {
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        // Uniform in length, not in value.
        const auto number = static_cast<std::uint32_t>(random() >> random() % 32);
        EXPECT_PRINTS_AS_IN_C("%u", number);
        EXPECT_PRINTS_AS_IN_C("%x", number);
        EXPECT_PRINTS_AS_IN_C(" %x", number);
    }
}

// The format of a word of an opaque field, and formats that begin like it.
TEST(BoundedPrintAsInC, Words) {
    for (int bit = 0; bit < 32; ++bit) {
        const std::uint32_t power = 1U << bit;
        EXPECT_PRINTS_AS_IN_C(" %x", power);
        EXPECT_PRINTS_AS_IN_C(" %x", power - 1);
        EXPECT_PRINTS_AS_IN_C(" %x", 0x76543210U >> bit);
        EXPECT_PRINTS_AS_IN_C(" %u", power);
        EXPECT_PRINTS_AS_IN_C(" %x%x", power, ~power);
    }
    EXPECT_PRINTS_AS_IN_C(" ");
    EXPECT_PRINTS_AS_IN_C(" x");
    EXPECT_PRINTS_AS_IN_C(" %%");
    EXPECT_PRINTS_AS_IN_C(" %s", "x");
    EXPECT_PRINTS_AS_IN_C(" %xyz", 0xABCU);
    EXPECT_LT(sprintf_s(nullptr, 64, " %x", 1U), 0);
}

// Literal text around the step of four bytes in which names are copied.
TEST(BoundedPrintAsInC, Names) {
    EXPECT_PRINTS_AS_IN_C("abcde");
    EXPECT_PRINTS_AS_IN_C("abcdefghi");
    EXPECT_PRINTS_AS_IN_C("abcd:%u%s", 1U, ", ");
    EXPECT_PRINTS_AS_IN_C("abcde:%u%s", 12U, ", ");
    EXPECT_PRINTS_AS_IN_C("abcdef:%u%s", 123U, ", ");
    EXPECT_PRINTS_AS_IN_C("abcdefg:%u%s", 1234U, ", ");
    EXPECT_PRINTS_AS_IN_C("%uabcd%uabc%uab%ua", 1U, 2U, 3U, 4U);
    EXPECT_PRINTS_AS_IN_C("%%abcd%%abc");
    EXPECT_PRINTS_AS_IN_C("a\x80\xff\x80\xff:%u \t#$&'(%u", 1U, 2U);
}

TEST(BoundedPrintAsInC, Strings) {
    const std::string longer(300, 'x');
    for (const std::string &text : {std::string(), std::string("a"), std::string("ab"),
                                    std::string("%u%s%%"), std::string("\x01\xff\n"), longer}) {
        EXPECT_PRINTS_AS_IN_C("%s", text.c_str());
        EXPECT_PRINTS_AS_IN_C("<%s>", text.c_str());
        EXPECT_PRINTS_AS_IN_C("%s%s", text.c_str(), text.c_str());
        EXPECT_PRINTS_AS_IN_C("%s:%u %s:%x", text.c_str(), 12U, "name", 0xABCDEFU);
    }
    const char *volatile null = nullptr;
    EXPECT_PRINTS_AS_IN_C("<%s>", null);
    EXPECT_PRINTS_AS_IN_C("%x%s%u%s", 1U, null, 2U, "after");
}

TEST(BoundedPrintAsInC, LiteralText) {
    EXPECT_PRINTS_AS_IN_C("%s", "");
    EXPECT_PRINTS_AS_IN_C("a");
    EXPECT_PRINTS_AS_IN_C("plain text, with \t, \n and \x80");
    EXPECT_PRINTS_AS_IN_C("%%");
    EXPECT_PRINTS_AS_IN_C("100%%");
    EXPECT_PRINTS_AS_IN_C("%%u%%s");
    EXPECT_PRINTS_AS_IN_C("%u%%%x%%%s", 1U, 2U, "3");
}

TEST(BoundedPrintAsInC, FormatsOfTheFormatters) {
    EXPECT_PRINTS_AS_IN_C("%s%s:%u", ", ", "vrIndex", 4294967295U);
    EXPECT_PRINTS_AS_IN_C("%02x:%02x:%02x:%02x:%02x:%02x", 0U, 0x1FU, 0xABU, 9U, 0x10U, 0xFFU);
    EXPECT_PRINTS_AS_IN_C("%x-%x-%x", 0x12U, 0U, 0xFFFFU);
    EXPECT_PRINTS_AS_IN_C("%08x %08x", 0U, 0xDEADBEEFU);
}

TEST(BoundedPrintAsInC, FlagsWidthsAndPrecisions) {
    for (const std::uint32_t number : {0U, 7U, 12345U, 123456U, UINT32_MAX}) {
        EXPECT_PRINTS_AS_IN_C("%5u|%1u|%10u|%15u", number, number, number, number);
        EXPECT_PRINTS_AS_IN_C("%-5u|%05u|%-15u|", number, number, number);
        EXPECT_PRINTS_AS_IN_C("%.0u|%.3u|%8.3u|%-8.3u|", number, number, number, number);
        EXPECT_PRINTS_AS_IN_C("%#x|%#10x|%-10x|%010x|%.4x", number, number, number, number, number);
        EXPECT_PRINTS_AS_IN_C("%X", number);
        EXPECT_PRINTS_AS_IN_C("%o", number);
        EXPECT_PRINTS_AS_IN_C("%X|%#X|%o|%#o", number, number, number, number);
        EXPECT_PRINTS_AS_IN_C("%*u|%.*u|%-*x|", 9, number, 6, number, 7, number);
    }
    EXPECT_PRINTS_AS_IN_C("%8s|%-8s|%.3s|%8.3s|%.0s|", "abcdef", "abcdef", "abcdef", "abcdef", "a");
    EXPECT_PRINTS_AS_IN_C("%*s|%.*s|", 9, "abc", 2, "abc");
}

TEST(BoundedPrintAsInC, OtherConversions) {
    for (const int number : {0, 1, -1, 42, INT_MAX, INT_MIN}) {
        EXPECT_PRINTS_AS_IN_C("%d", number);
        EXPECT_PRINTS_AS_IN_C("%i", number);
        EXPECT_PRINTS_AS_IN_C("%d %i %+d % d %5d %-5d| %05d", number, number, number, number,
                              number, number, number);
    }
    for (const std::uint64_t number :
         {std::uint64_t{0}, std::uint64_t{UINT32_MAX}, std::uint64_t{UINT32_MAX} + 1, UINT64_MAX}) {
        EXPECT_PRINTS_AS_IN_C("%lu %lx %llu %llx", static_cast<unsigned long>(number),
                              static_cast<unsigned long>(number),
                              static_cast<unsigned long long>(number),
                              static_cast<unsigned long long>(number));
        EXPECT_PRINTS_AS_IN_C("%zu %ju %ld", static_cast<std::size_t>(number),
                              static_cast<std::uintmax_t>(number), static_cast<long>(number));
    }
    for (const unsigned number : {0U, 255U}) {
        EXPECT_PRINTS_AS_IN_C("%hhu %hhx %hu %hx", static_cast<unsigned char>(number),
                              static_cast<unsigned char>(number),
                              static_cast<unsigned short>(number),
                              static_cast<unsigned short>(number));
    }
    EXPECT_PRINTS_AS_IN_C("%c%c%c", 'a', '%', 'z');
    EXPECT_PRINTS_AS_IN_C("%f %.2f %g %e", 1.5, 2.25, 1e10, 3.0);
    EXPECT_PRINTS_AS_IN_C("%p", static_cast<const void *>(&numbers));
}

// A conversion of the slow path before and after others: all arguments stay in order.
TEST(BoundedPrintAsInC, MixedConversions) {
    EXPECT_PRINTS_AS_IN_C("%u %s %d %x %5u %s %lu %u", 1U, "two", -3, 4U, 5U, "six", 7UL, 8U);
    EXPECT_PRINTS_AS_IN_C("%5u%u", 1U, 2U);
    EXPECT_PRINTS_AS_IN_C("%u%5u", 1U, 2U);
    EXPECT_PRINTS_AS_IN_C("%s%%%s", "a", "b");
    EXPECT_PRINTS_AS_IN_C("%u %u %u %u %u %u %u %u %u %u %u %u", 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U,
                          10U, 11U, 12U);
    EXPECT_PRINTS_AS_IN_C("%s%x%s%x%s%x%s%x%f%u", "a", 1U, "b", 2U, "c", 3U, "d", 4U, 0.5, 5U);
    EXPECT_PRINTS_AS_IN_C("%lu%u%lx%x%d%s%u", ULONG_MAX, 1U, ULONG_MAX, 2U, -1, "s", UINT32_MAX);
}

// Formats that the compiler would reject as literals.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
TEST(BoundedPrintAsInC, EmptyFormat) {
    Text to = untouched;
    const char *volatile empty = "";
    EXPECT_EQ(sprintf_s(to.data(), to.size(), empty), 0);
    EXPECT_STREQ(to.data(), "");
    to = untouched;
    EXPECT_EQ(sprintf_s(to.data(), 1, empty), 0);
    EXPECT_EQ(std::string_view(to.data(), to.size()), std::string_view("\0#######", 8));
}

TEST(BoundedPrintAsInC, TruncatedFormats) {
    for (const char *volatile format : {"%", "abc%", "%5", "%l", "%u%"}) {
        Text to = untouched;
        EXPECT_LT(std::snprintf(to.data(), to.size(), format, 7U), 0) << format;
        EXPECT_LT(sprintf_s(to.data(), to.size(), format, 7U), 0) << format;
        EXPECT_STREQ(to.data(), "") << format;
    }
}
#pragma GCC diagnostic pop

TEST(BoundedPrintAsInC, BuffersOfAnyAlignment) {
    for (std::size_t offset = 0; offset < 16; ++offset) {
        alignas(16) std::array<char, 64> to{};
        EXPECT_EQ(sprintf_s(to.data() + offset, to.size() - offset, "%s:%u %x,", "mtu", 1234567U,
                            0xABCDEU),
                  18);
        EXPECT_STREQ(to.data() + offset, "mtu:1234567 abcde,");
    }
}

// A buffer size beyond INT_MAX is valid if the text is shorter.
TEST(BoundedPrintAsInC, SizesBeyondInt) {
    for (const std::size_t size :
         {std::size_t{INT_MAX}, std::size_t{INT_MAX} + 1, std::size_t{UINT32_MAX} + 1, SIZE_MAX}) {
        Text to = untouched;
        EXPECT_EQ(sprintf_s(to.data(), size, "%u,%x", 12U, 0xFFU), 5) << size;
        EXPECT_EQ(std::string_view(to.data(), to.size()), std::string_view("12,ff\0##", 8));
    }
}

/// A page followed by one without access.
class GuardedPage {
public:
    GuardedPage() {
        EXPECT_NE(pages_, MAP_FAILED);
        EXPECT_EQ(mprotect(end(), size, PROT_NONE), 0);
    }
    GuardedPage(const GuardedPage &) = delete;
    GuardedPage &operator=(const GuardedPage &) = delete;
    ~GuardedPage() { munmap(pages_, 2 * size); }

    [[nodiscard]] char *end() const { return static_cast<char *>(pages_) + size; }

    /// The text, placed so that its terminator is the last byte of the page.
    [[nodiscard]] const char *text(std::string_view text) const {
        char *const at = end() - text.size() - 1;
        std::copy(text.begin(), text.end(), at);
        end()[-1] = '\0';
        return at;
    }

private:
    const std::size_t size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void *const pages_ =
        mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
};

// Detects a read or a write of one byte too many, without a sanitizer, too.
TEST(BoundedPrint, StaysWithinItsBufferAndItsArguments) {
    const GuardedPage format_page;
    const GuardedPage text_page;
    const GuardedPage buffer_page;
    const std::string whole = "a:4294967295 ffffffff";
    const std::string name = "pwTunnelId";
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    for (std::size_t length = 0; length <= name.size(); ++length) {
        const char *const text = text_page.text(std::string_view(name).substr(0, length));
        const char *const format = format_page.text("a:%u %x%s");
        const std::size_t needed = whole.size() + length + 1;
        for (std::size_t size = 1; size <= needed; ++size) {
            char *const to = buffer_page.end() - size;
            const int printed = sprintf_s(to, size, format, UINT32_MAX, UINT32_MAX, text);
            ASSERT_EQ(printed, size == needed ? static_cast<int>(needed) - 1 : -1) << size;
            ASSERT_EQ(std::string(to), size == needed ? whole + text : "") << size;
        }
    }
    for (const std::string_view format : {"", " ", " %x", " %x.", "abcde", "abcdefgh"})
        for (std::size_t size = 1; size <= 12; ++size) {
            char *const to = buffer_page.end() - size;
            const int printed = sprintf_s(to, size, format_page.text(format), UINT32_MAX);
            ASSERT_EQ(std::strlen(to), printed < 0 ? 0U : static_cast<unsigned>(printed)) << size;
        }
#pragma GCC diagnostic pop
}

TEST(AtomicAdd, ReturnsTheSumModulo32Bits) {
    std::uint32_t counter = 0xFFFFFFFE;
    EXPECT_EQ(ZAV_AtomicAdd(&counter, 1), 0xFFFFFFFFU);
    EXPECT_EQ(ZAV_AtomicAdd(&counter, 3), 2U);
    EXPECT_EQ(ZAV_AtomicAdd(&counter, 0), 2U);
    EXPECT_EQ(counter, 2U);
}

TEST(AtomicAdd, IsAtomicAcrossThreads) {
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
