// SPDX-License-Identifier: MIT
// Random bytes from a kernel that delivers them in pieces, late or not at all.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <vector>

#include <sys/auxv.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/store/random.h"
#include "tests/parts/guarded_memory.h"
#include "tests/parts/scripted_clock.h"

namespace {

/// The results of the next calls of getrandom(): a number of bytes, or a negative errno.
std::deque<int> results;
char next_byte = 1;

/// The 16 random bytes that the kernel has given the process, if the test chooses them.
const void *given_bytes = nullptr;

} // namespace

extern "C" unsigned long __getauxval(unsigned long type); // NOLINT(bugprone-reserved-identifier)

/// Replaces the C library's function.
extern "C" unsigned long getauxval(unsigned long type) noexcept {
    return type == AT_RANDOM && given_bytes != nullptr
               ? reinterpret_cast<unsigned long>(given_bytes)
               : __getauxval(type);
}

/// Replaces the C library's function. Without given results, it calls the kernel.
extern "C" ssize_t getrandom(void *memory, std::size_t size, unsigned flags) noexcept {
    if (results.empty())
        return syscall(SYS_getrandom, memory, size, flags);
    const int result = results.front();
    results.pop_front();
    if (result < 0) {
        errno = -result;
        return -1;
    }
    const std::size_t filled = std::min(size, static_cast<std::size_t>(result));
    for (std::size_t i = 0; i < filled; ++i)
        static_cast<char *>(memory)[i] = next_byte++;
    return static_cast<ssize_t>(filled);
}

namespace l2vpn::platform {
namespace {

class Random : public testing::Test {
protected:
    Random() { next_byte = 1; }
    ~Random() override { results.clear(); }
    Random(const Random &) = delete;
    Random &operator=(const Random &) = delete;

    /// Fills the first `size` of 40 bytes.
    static std::vector<char> filled(std::size_t size) {
        std::vector<char> bytes(40);
        fill_random(bytes.data(), size);
        EXPECT_TRUE(std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(size), bytes.end(),
                                [](char byte) { return byte == 0; }));
        return bytes;
    }
};

TEST_F(Random, ComesFromTheKernelInPieces) {
    results = {3, -EINTR, 1, 100};
    EXPECT_EQ(filled(6),
              (std::vector<char>{1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(results.empty()) << "every call was needed";
}

TEST_F(Random, OfZeroBytesCallsNothing) {
    results = {1};
    filled(0);
    EXPECT_EQ(results.size(), 1U);
}

// A filter of system calls may forbid getrandom().
TEST_F(Random, ComesFromTheProcessOtherwise) {
    for (const int failure : {-ENOSYS, -EPERM, 0}) {
        results = {2, failure};
        next_byte = 1;
        const std::vector<char> first = filled(32);
        EXPECT_EQ(first[0], 1);
        EXPECT_EQ(first[1], 2) << "the kernel's bytes are kept";
        results = {2, failure};
        EXPECT_FALSE(std::equal(first.begin() + 2, first.end(), filled(32).begin() + 2));
        std::map<char, int> frequency;
        for (int round = 0; round < 200; ++round) {
            results = {failure};
            for (const char byte : filled(40))
                ++frequency[byte];
        }
        EXPECT_EQ(frequency.size(), 256U);
        for (const auto &[byte, count] : frequency)
            EXPECT_LT(count, 4 * 8000 / 256) << static_cast<int>(byte);
    }
}

// The bytes of the process are secret; time and address only make each call different.
TEST_F(Random, OfTheProcessDependsOnItsRandomBytesAndTheTime) {
    const test::GuardedMemory memory(16);
    std::uint64_t *const given = reinterpret_cast<std::uint64_t *>(memory.data());
    given_bytes = given;
    std::uint64_t bytes = 0;
    const auto fill = [&](std::int64_t nanoseconds) {
        test::clock_readings = {{5, nanoseconds}};
        results = {-ENOSYS};
        fill_random(&bytes, sizeof bytes);
        test::clock_readings.clear();
        return bytes;
    };
    const std::uint64_t first = fill(7);
    EXPECT_EQ(fill(7), first);
    EXPECT_NE(fill(8), first);
    for (std::size_t word = 0; word < 2; ++word) {
        ++given[word];
        EXPECT_NE(fill(7), first);
        --given[word];
    }
    EXPECT_EQ(fill(7), first);
    given_bytes = nullptr;
}

} // namespace
} // namespace l2vpn::platform
