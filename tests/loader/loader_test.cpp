// SPDX-License-Identifier: MIT
// The dynamic loader and the library: without a platform, with an incomplete one and with two.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <latch>
#include <regex>
#include <string>
#include <string_view>
#include <thread>

#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/single_threaded.h>
#include <sys/wait.h>
#include <unistd.h>

#include "l2vpn_db/l2vpn_stp.h"
#include "l2vpn_db/memory_store.h"
#include "l2vpn_db/platform.h"

namespace {

const std::string library = L2VPN_TEST_LIBRARY;
const std::string platform = L2VPN_TEST_PLATFORM;

/// At least one of each kind of function that the library imports.
constexpr std::array imports{"DAL_VELD_Write",
                             "DAL_VELD_Read",
                             "DAL_VELD_Update",
                             "DAL_VELD_Delete",
                             "DAL_VELD_CreateIterator",
                             "DAL_VELD_CreateIteratorByKey",
                             "DAL_VELD_GetNextEntry",
                             "DAL_VELD_ReleaseIterator",
                             "DAL_VELD_Count",
                             "DAL_VELD_CountByKey",
                             "ZAV_AtomicAdd",
                             "memcpy_s",
                             "sprintf_s",
                             "db_create_l2vpn_stp_obj",
                             "db_reset_l2vpn_stp_object",
                             "db_release_l2vpn_stp_object",
                             "db_set_l2vpn_stp_all_fields",
                             "db_set_l2vpn_stp_batchVersion"};

/// A loaded shared object; closed by the destructor.
class Opened {
public:
    Opened(const std::string &file, int mode) : handle_(dlopen(file.c_str(), mode)) {
        if (handle_ == nullptr)
            error = dlerror();
    }
    ~Opened() {
        if (handle_ != nullptr)
            dlclose(handle_);
    }
    Opened(const Opened &) = delete;
    Opened &operator=(const Opened &) = delete;

    explicit operator bool() const { return handle_ != nullptr; }

    template <class Function>
    [[nodiscard]] Function *function(const char *name) const {
        void *const found = dlsym(handle_, name);
        EXPECT_NE(found, nullptr) << name;
        return reinterpret_cast<Function *>(found);
    }

    std::string error;

private:
    void *handle_;
};

/// The undefined symbol that the loader reports; the whole message if it reports another error.
std::string missing(const Opened &opened) {
    EXPECT_FALSE(opened);
    std::smatch found;
    const std::regex message("libl2vpn_db\\.so[^:]*: undefined symbol: (\\w+)");
    return std::regex_search(opened.error, found, message) ? found[1].str() : opened.error;
}

/// A copy of the embedded platform, optionally without one function.
class PlatformCopy {
public:
    explicit PlatformCopy(std::string_view without = {})
        : file(testing::TempDir() + "l2vpn_platform_" + std::to_string(++copies) + "_" +
               testing::UnitTest::GetInstance()->current_test_info()->name() + ".so") {
        std::ifstream original(platform, std::ios::binary);
        std::string bytes{std::istreambuf_iterator(original), {}};
        if (!without.empty()) {
            const std::string name = '\0' + std::string(without) + '\0';
            std::size_t at = bytes.find(name);
            EXPECT_NE(at, std::string::npos) << without;
            for (; at != std::string::npos; at = bytes.find(name, at + 1))
                bytes[at + 1] = '?';
        }
        std::ofstream(file, std::ios::binary) << bytes;
    }
    ~PlatformCopy() { std::filesystem::remove(file); }
    PlatformCopy(const PlatformCopy &) = delete;
    PlatformCopy &operator=(const PlatformCopy &) = delete;

    const std::string file;

private:
    static inline int copies = 0;
};

std::uint32_t count_in(const Opened &store, const Opened &db) {
    auto *const descriptor = db.function<L2vpnDbTblIntf>("g_l2vpnL2vpnStpIntf");
    std::uint32_t count = 77;
    EXPECT_EQ(
        store.function<decltype(DAL_VELD_Count)>("DAL_VELD_Count")(nullptr, descriptor, &count),
        0U);
    return count;
}

std::uint32_t write_record(const Opened &db) {
    const L2vpnStp record{};
    return db.function<decltype(L2VPN_DB_L2vpnStpWrite)>("L2VPN_DB_L2vpnStpWrite")(&record);
}

/// Runs a test in a child: the libraries are never unloaded.
template <class Body>
void in_child(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "wait status";
}

// All imports are bound at load time: a missing one cannot surface later.
TEST(Loader, RejectsTheLibraryWithoutPlatform) {
    for (const int mode : {RTLD_NOW, RTLD_LAZY}) {
        const std::string name = missing(Opened(library, mode));
        EXPECT_TRUE(std::regex_match(
            name, std::regex("DAL_VELD_\\w+|db_\\w+_l2vpn_\\w+|ZAV_AtomicAdd|memcpy_s|sprintf_s")))
            << name;
    }
}

TEST(Loader, RejectsTheLibraryWhileThePlatformIsNotVisible) {
    const Opened hidden(platform, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(hidden) << hidden.error;
    EXPECT_NE(missing(Opened(library, RTLD_NOW)), "");
}

TEST(Loader, NamesTheFunctionThatAPlatformLacks) {
    for (const char *const name : imports)
        in_child([name] {
            const PlatformCopy copy(name);
            const Opened incomplete(copy.file, RTLD_NOW | RTLD_GLOBAL);
            ASSERT_TRUE(incomplete) << incomplete.error;
            EXPECT_EQ(missing(Opened(library, RTLD_NOW)), name);
        });
}

void take_the_first_platform() {
    const PlatformCopy copy;
    const PlatformCopy other_copy;
    const Opened first(copy.file, RTLD_NOW | RTLD_GLOBAL);
    const Opened second(other_copy.file, RTLD_NOW | RTLD_GLOBAL);
    const Opened again(copy.file, RTLD_NOW | RTLD_GLOBAL);
    ASSERT_TRUE(first && second && again);
    const Opened db(library, RTLD_NOW);
    ASSERT_TRUE(db) << db.error;
    EXPECT_EQ(write_record(db), 0U);
    EXPECT_EQ(count_in(first, db), 1U);
    EXPECT_EQ(count_in(again, db), 1U);
    EXPECT_EQ(count_in(second, db), 0U);
}

TEST(Loader, TakesThePlatformThatWasLoadedFirst) {
    in_child(take_the_first_platform);
}

/// A thread with a batch of events ends after the program has closed the libraries.
void use_records_after_close() {
    std::latch used(1);
    std::latch closed(1);
    std::thread thread;
    {
        const Opened store(platform, RTLD_NOW | RTLD_GLOBAL);
        ASSERT_TRUE(store) << store.error;
        const Opened db(library, RTLD_NOW);
        ASSERT_TRUE(db) << db.error;
        EXPECT_EQ(write_record(db), 0U); // this thread owns the table
        thread = std::thread([&] {
            EXPECT_EQ(count_in(store, db), 1U);
            used.count_down();
            closed.wait();
        });
        used.wait();
    }
    closed.count_down();
    thread.join();
    const Opened store(platform, RTLD_NOW | RTLD_GLOBAL);
    ASSERT_TRUE(store) << store.error;
    const Opened db(library, RTLD_NOW);
    ASSERT_TRUE(db) << db.error;
    EXPECT_EQ(count_in(store, db), 1U);
    EXPECT_EQ(db.function<decltype(L2VPN_DB_L2vpnStpGetStat)>("L2VPN_DB_L2vpnStpGetStat")(
                  L2VPN_STORE_STAT_COUNTED),
              2U);
}

TEST(Loader, RecordsAndEventsSurviveDlclose) {
    in_child(use_records_after_close);
}

/// Makes the page of a counter read-only, calls `add`, and adds 1000 when its store faults, as
/// another process may: between the load and the store of an addition that is not atomic.
template <class Add>
void add_with_interference(std::uint32_t *counter, Add add) {
    static std::uintptr_t page_size;
    static void *page;
    static std::uint32_t faults;
    page_size = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    page =
        reinterpret_cast<char *>(counter) - reinterpret_cast<std::uintptr_t>(counter) % page_size;
    faults = 0;
    struct sigaction interfere {};
    interfere.sa_flags = SA_SIGINFO;
    interfere.sa_sigaction = [](int, siginfo_t *fault, void *) {
        ++faults;
        mprotect(page, page_size, PROT_READ | PROT_WRITE);
        *static_cast<std::uint32_t *>(fault->si_addr) += 1000;
    };
    struct sigaction before {};
    ASSERT_EQ(sigaction(SIGSEGV, &interfere, &before), 0);
    ASSERT_EQ(mprotect(page, page_size, PROT_READ), 0);
    add();
    ASSERT_EQ(sigaction(SIGSEGV, &before, nullptr), 0);
    ASSERT_EQ(faults, 1U);
}

#ifdef __x86_64__
constexpr std::uint32_t plain = 0;
#else
constexpr std::uint32_t plain = 1000; // all additions are atomic
#endif

/// While the process has one thread, additions to the library's counters are plain, because they
/// are private to the process. Those to shared memory are atomic.
void add_in_one_thread() {
    const Opened store(platform, RTLD_NOW | RTLD_GLOBAL);
    ASSERT_TRUE(store) << store.error;
    const Opened db(library, RTLD_NOW);
    ASSERT_TRUE(db) << db.error;
    ASSERT_TRUE(__libc_single_threaded);
    auto *const stat = db.function<decltype(L2VPN_DB_L2vpnStpStat)>("L2VPN_DB_L2vpnStpStat");
    std::uint32_t *const counter = db.function<L2vpnStpGlbCb>("g_l2vpnL2vpnStpGlbCb")->cb.stat;
    const auto add = [&] { stat(0, 1); };
    add();
    add_with_interference(counter, add);
    EXPECT_EQ(*counter, 2 + plain);

    void *const page = mmap(nullptr, sizeof(std::uint32_t), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    auto *const shared = static_cast<std::uint32_t *>(page);
    auto *const atomic_add = store.function<decltype(ZAV_AtomicAdd)>("ZAV_AtomicAdd");
    add_with_interference(shared, [&] { EXPECT_EQ(atomic_add(shared, 1), 1001U); });
    EXPECT_EQ(*shared, 1001U);

    std::thread([] {}).join();
    ASSERT_FALSE(__libc_single_threaded);
    add_with_interference(counter, add);
    EXPECT_EQ(*counter, 3 + plain + 1000);
}

TEST(Loader, AdditionsToSharedMemoryAreAtomic) {
    in_child(add_in_one_thread);
}

} // namespace
