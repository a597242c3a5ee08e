// SPDX-License-Identifier: MIT
// A limited address space: little of it is lost between blocks.
#include <algorithm>
#include <fstream>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

constexpr std::size_t granted = std::size_t{256} << 20;

bool is_numbered(const Facts &table) {
    return table.keys[0].members[0].width >= sizeof(std::uint32_t);
}
/// Whether it is the table with the longest records, or the one with the most keys.
bool is_extreme(const Facts &table) {
    const std::vector<const TypedTable *> tables = tables_with(typed_tables, is_numbered);
    const auto largest = [&](auto size) {
        return (*std::ranges::max_element(
                    tables, {},
                    [&](const TypedTable *candidate) { return size(facts(candidate->name)); }))
            ->name;
    };
    return table.name == largest([](const Facts &of) { return of.stored_size; }) ||
           table.name == largest([](const Facts &of) { return of.keys.size(); });
}

/// Runs in a separate process, in which the table is unused.
class FreshStoreAddressSpace : public StoreTest {
protected:
    /// Writes records, each with a value of its own under every key, until a write fails or there
    /// are as many as given. Returns their number.
    [[nodiscard]] std::uint32_t fill(std::uint32_t limit) const {
        Bytes stored(facts_.stored_size, 0x5A);
        const L2vpnDbRecData request = record_request(stored);
        std::uint32_t records = 0;
        for (; records < limit; ++records) {
            for (const Key &key : facts_.keys)
                for (const Field &member : key.members)
                    if (member.width >= sizeof records)
                        std::memcpy(stored.data() + member.stored_offset, &records, sizeof records);
            if (const std::uint32_t code = DAL_VELD_Write(module_, intf_, &request); code != 0) {
                EXPECT_EQ(code, L2VPN_STORE_NO_MEMORY);
                break;
            }
        }
        return records;
    }

    /// Returns the function's result in a new process.
    template <class Function>
    static std::uint32_t in_new_process(Function function) {
        void *const shared = mmap(nullptr, sizeof(std::uint32_t), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(shared, MAP_FAILED);
        const pid_t child = fork();
        if (child == 0) {
            const std::uint32_t result = function();
            std::memcpy(shared, &result, sizeof result);
            _exit(HasFailure() ? 1 : 0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        std::uint32_t result = 0;
        std::memcpy(&result, shared, sizeof result);
        EXPECT_EQ(munmap(shared, sizeof result), 0);
        return result;
    }
};
L2VPN_TEST_TYPED_TABLES(FreshStoreAddressSpace, is_extreme);

TEST_P(FreshStoreAddressSpace, HoldsRecords) {
    if (is_used(table_))
        GTEST_SKIP() << "the table has been used before";
    // The memory per record, measured without a limit.
    constexpr std::uint32_t sample = 50'000;
    const std::uint32_t bytes_of_sample = in_new_process([&] {
        register_memory_service();
        const std::size_t before = bytes_held();
        EXPECT_EQ(fill(sample), sample);
        return static_cast<std::uint32_t>(bytes_held() - before);
    });
    const std::uint32_t records = in_new_process([&] {
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t limit = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + granted;
        const rlimit limits{limit, limit};
        EXPECT_EQ(setrlimit(RLIMIT_AS, &limits), 0);
        return fill(static_cast<std::uint32_t>(4 * granted / facts_.stored_size));
    });
    const double bytes = static_cast<double>(bytes_of_sample) / sample * records;
    RecordProperty("records", static_cast<int>(records));
    EXPECT_GE(bytes, 0.75 * static_cast<double>(granted)) << records << " records";
    EXPECT_LE(bytes, 1.25 * static_cast<double>(granted)) << "the limit has no effect";
}

} // namespace
} // namespace l2vpn::test
