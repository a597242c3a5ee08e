// SPDX-License-Identifier: MIT
// Any allocation of a load may fail. The tables must not change.
#include <cstdlib>
#include <new>

#include "store_fixture.h"

namespace {

long allocations_left = -1; ///< before one fails; negative: none fails
bool fails_once = false;    ///< only one fails, not all later ones

void *allocate(std::size_t size) {
    if (allocations_left == 0) {
        allocations_left = fails_once ? -1 : 0;
        throw std::bad_alloc();
    }
    allocations_left -= allocations_left > 0 ? 1 : 0;
    void *const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void *operator new(std::size_t size) {
    return allocate(size);
}
void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}

namespace l2vpn::test {
namespace {

class ExhaustedMemory : public RecordFileTest {
protected:
    /// Loads with 0, 1, 2, ... successful allocations until none fails.
    void exhaust(const std::string &text, const records::LoadOptions &options) {
        expect_loaded(R"({"l2vpn_stp": [{"ifIndex": 2, "flags": 7}]})");
        const auto before = store_contents();
        std::ofstream(path) << text;
        for (long allocations = 0;; ++allocations) {
            bool stored = false;
            allocations_left = allocations;
            try {
                stored = records::load(path, options).stored > 0;
            } catch (const std::bad_alloc &) { // the diagnostic could not be allocated either
            }
            const bool failed = allocations_left <= 0 && !(fails_once && stored);
            allocations_left = -1;
            if (stored) {
                ASSERT_GT(allocations, 10);
                EXPECT_NE(store_contents(), before);
                return;
            }
            ASSERT_TRUE(failed) << allocations;
            ASSERT_EQ(store_contents(), before) << allocations;
        }
    }

    void expect_all_or_nothing(const std::string &text, const std::string &csv_table = "") {
        for (const bool once : {false, true}) {
            for (const bool merge : {false, true}) {
                fails_once = once;
                SetUp();
                exhaust(text, {.csv_table = csv_table, .merge = merge});
            }
        }
    }
};

TEST_F(ExhaustedMemory, Json) {
    expect_all_or_nothing(
        R"({"l2vpn_stp": [{"ifIndex": 1}, {"ifIndex": 2, "flags": 9}, {"ifIndex": 3}],
                              "l2vpn_oam_staticmac": [{"vrIndex": 1, "instanceId": 1, "svcStatus": [1, 0],
                                                       "macAddr": "00:1b:44:11:3a:b7"}]})");
}

TEST_F(ExhaustedMemory, JsonLines) {
    expect_all_or_nothing("{\"l2vpn_stp\": [{\"ifIndex\": 1}, {\"ifIndex\": 2}]}\n"
                          "{\"l2vpn_vpls_exp\": [{\"vrIndex\": 2, \"instanceId\": 3}]}\n");
}

TEST_F(ExhaustedMemory, Csv) {
    expect_all_or_nothing("ifIndex,flags\n1,0\n2,1\n3,\"2\"\n", "l2vpn_stp");
}

} // namespace
} // namespace l2vpn::test
