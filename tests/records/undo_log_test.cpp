// SPDX-License-Identifier: MIT
// The undo log: in the buffer, in the temporary file, and failures of either.
#include <csignal>
#include <map>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "failing_store.h"
#include "l2vpn_db/l2vpn_stp.h"
#include "l2vpn_db/memory_store.h"
#include "records/input_file.h"
#include "records/interrupt.h"
#include "records/undo_log.h"
#include "store_fixture.h"

namespace l2vpn::test {
namespace {

using namespace records;

class UndoLogTest : public testing::Test {
protected:
    void SetUp() override { clear_store(); }
    void TearDown() override { clear_store(); }

    static Bytes record(std::uint32_t interface, std::uint32_t flags) {
        L2vpnStp stp{};
        stp.ifIndex = interface;
        stp.flags = flags;
        const auto *const at = reinterpret_cast<const std::byte *>(&stp);
        return {at, at + sizeof stp};
    }
    static std::map<std::uint32_t, std::uint32_t> stored() {
        std::map<std::uint32_t, std::uint32_t> flags;
        L2vpnStp stp{};
        L2vpnDbIter *const iter = L2VPN_DB_L2vpnStpCreateIter(0, nullptr);
        while (L2VPN_DB_L2vpnStpGetNext(iter, &stp) == L2VPN_DB_OK) {
            flags[stp.ifIndex] = stp.flags;
        }
        EXPECT_EQ(L2VPN_DB_L2vpnStpReleaseIter(iter), L2VPN_DB_OK);
        return flags;
    }

    const Table &table = *find_table("l2vpn_stp");
    UndoLog undo_log;
    bool replaced = false;
};

TEST_F(UndoLogTest, LongerThanTheBuffer) {
    constexpr std::uint32_t count = 60000; // times three entries of 28 bytes and more
    const auto write = [&](std::uint32_t interface, std::uint32_t flags) {
        ASSERT_EQ(undo_log.write(table, record(interface, flags), replaced), L2VPN_DB_OK);
    };
    for (std::uint32_t i = 0; i < count; i += 2) {
        write(i, 1);
    }
    undo_log = UndoLog();
    const auto before = stored();
    EXPECT_EQ(before.size(), count / 2);
    for (const std::uint32_t flags : {2U, 3U}) {
        for (std::uint32_t i = 0; i < count; ++i) {
            write(i, flags);
            EXPECT_EQ(replaced, flags == 3 || i % 2 == 0);
        }
    }
    EXPECT_EQ(stored().size(), count);
    EXPECT_EQ(undo_log.undo(), 0U);
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(undo_log.undo(), 0U) << "the log is empty";
    EXPECT_EQ(stored(), before);
}

TEST_F(UndoLogTest, FullDisk) {
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{std::size_t{5} << 19, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    std::uint32_t written = 0;
    EXPECT_THROW(
        while (undo_log.write(table, record(written, 1), replaced) == L2VPN_DB_OK) { ++written; },
        FileError);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    (void)std::signal(SIGXFSZ, old_handler);
    EXPECT_EQ(stored().size(), written) << "a write that cannot be logged is not made";
    EXPECT_GT(written * table.record_size, std::size_t{3} << 19)
        << "part of the log is in the file";
    EXPECT_EQ(undo_log.undo(), 0U);
    EXPECT_TRUE(stored().empty());
}

TEST_F(UndoLogTest, UnreadableTemporaryFile) {
    constexpr std::uint32_t count = 60000;
    for (std::uint32_t i = 0; i < count; ++i) {
        ASSERT_EQ(undo_log.write(table, record(i, 1), replaced), L2VPN_DB_OK);
    }
    for (const auto &file : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(file, error).string().ends_with(" (deleted)")) {
            std::ofstream(file.path(), std::ios::trunc).close();
        }
    }
    const std::size_t failed = undo_log.undo();
    EXPECT_GT(failed, 0U);
    EXPECT_LT(failed, count) << "writes in the buffer are undone";
    EXPECT_EQ(stored().size(), failed);
}

TEST_F(UndoLogTest, RecordsThatTheStoreRejects) {
    const FailingStore failing;
    for (std::uint32_t i = 0; i < 5; ++i) {
        ASSERT_EQ(undo_log.write(table, record(i, 1), replaced), L2VPN_DB_OK);
    }
    FailingStore::remove = [calls = 0](std::string_view) mutable {
        return ++calls % 2 == 0 ? std::uint32_t{L2VPN_STORE_NO_MEMORY} : 0;
    };
    EXPECT_EQ(undo_log.undo(), 2U);
    EXPECT_EQ(stored().size(), 2U);
}

TEST_F(UndoLogTest, FailedWorkIsUndone) {
    const auto work = [&](auto end) {
        return [this, end](UndoLog &log) -> bool {
            log.write(table, record(1, 1), replaced);
            return end();
        };
    };
    with_undo(work([] { return false; }));
    EXPECT_TRUE(stored().empty());
    EXPECT_THROW(with_undo(work([]() -> bool { throw Interrupted{SIGINT}; })), Interrupted);
    EXPECT_TRUE(stored().empty());
    EXPECT_THROW(with_undo(work([]() -> bool { throw std::bad_alloc(); })), std::bad_alloc);
    EXPECT_TRUE(stored().empty());
    with_undo(work([] { return true; }));
    EXPECT_EQ(stored().size(), 1U);
}

} // namespace
} // namespace l2vpn::test
