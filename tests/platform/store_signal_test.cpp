// SPDX-License-Identifier: MIT
// Calls of the store by signal handlers. A call that interrupts a change of the store on its own
// thread is rejected; no call deadlocks.
#include <array>
#include <atomic>
#include <csignal>
#include <ctime>
#include <thread>

#include <unistd.h>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

// ---- A memory service for signal handlers: malloc must not be called by them.

alignas(64) std::array<char, std::size_t{16} << 20> memory;
std::atomic<std::size_t> memory_used = 0;
std::atomic<bool> raises = false;

struct alignas(64) Header {
    std::size_t size;
};

void *allocate_signal_safe(std::size_t size) {
    if (raises.exchange(false))
        (void)raise(SIGUSR1);
    size = sizeof(Header) + (size + sizeof(Header) - 1) / sizeof(Header) * sizeof(Header);
    const std::size_t at = memory_used.fetch_add(size);
    if (at + size > memory.size())
        return nullptr;
    auto *const header = reinterpret_cast<Header *>(&memory[at]);
    header->size = size;
    return header + 1;
}

/// Reuses the memory if nothing was allocated since.
void release_signal_safe(void *block) {
    const Header *const header = static_cast<Header *>(block) - 1;
    const auto at =
        static_cast<std::size_t>(reinterpret_cast<const char *>(header) - memory.data());
    std::size_t end = at + header->size;
    memory_used.compare_exchange_strong(end, at);
}

std::uint32_t keep(const L2vpnDbRecData *, L2vpnDbRecObj *, const std::uint32_t *, std::uint32_t) {
    return 0;
}

constexpr std::uint32_t pool_size = 300;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

class StoreSignals;
StoreSignals *current = nullptr;

class StoreSignals : public StoreTest {
public:
    /// Makes one call of each kind, on a record of the handler.
    void call_from_handler() {
        ++signals_;
        const auto expect = [this](std::uint32_t code) {
            if (code == L2VPN_STORE_REENTERED)
                ++rejected_;
            else if (code == 0 || code == L2VPN_STORE_NOT_FOUND)
                ++performed_;
            else
                other_code_ = code;
        };
        L2vpnDbRecData found{buffer_.data(), facts_.stored_size, 0};
        std::uint32_t count = 0;
        expect(DAL_VELD_Write(module_, intf_, &handlers_record_));
        expect(DAL_VELD_Read(module_, intf_, &handlers_key_->request, &found));
        expect(DAL_VELD_Update(module_, intf_, &handlers_key_->request, &found, &update_));
        expect(DAL_VELD_Count(module_, intf_, &count));
        expect(DAL_VELD_CountByKey(module_, intf_, &handlers_key_->request, &count));
        L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module_, intf_);
        expect(iterator != nullptr ? 0 : L2VPN_STORE_REENTERED);
        if (iterator != nullptr) {
            expect(DAL_VELD_GetNextEntry(module_, intf_, iterator, &found));
            expect(DAL_VELD_ReleaseIterator(module_, intf_, iterator));
        }
        expect(DAL_VELD_Delete(module_, intf_, &handlers_key_->request));
    }

protected:
    void SetUp() override {
        alarm(100);
        current = this;
        const L2vpnDbMemIntf service =
            l2vpn_store_memory_service(allocate_signal_safe, release_signal_safe);
        L2VPN_DB_MemIntfReg(&service);
        EXPECT_EQ(raw_count(), 0U);
        handlers_stored_ = pool_.make(0, 0);
        handlers_record_ = record_request(handlers_stored_);
        handlers_key_.emplace(facts_.keys[0], pool_.primary(0), KeyRequest::Value{});
        handle(SIGUSR1);
        handle(SIGUSR2);
    }
    void TearDown() override {
        (void)std::signal(SIGUSR1, SIG_DFL);
        (void)std::signal(SIGUSR2, SIG_DFL);
        StoreTest::TearDown();
        unregister_memory_service();
    }

    static void handle(int signal) {
        struct sigaction action = {};
        action.sa_handler = [](int) { current->call_from_handler(); };
        action.sa_flags = SA_RESTART;
        ASSERT_EQ(sigaction(signal, &action, nullptr), 0);
    }

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::even};
    std::atomic<std::uint32_t> signals_ = 0;
    std::atomic<std::uint32_t> performed_ = 0;
    std::atomic<std::uint32_t> rejected_ = 0;
    std::atomic<std::uint32_t> other_code_ = 0;

private:
    Bytes handlers_stored_;
    Bytes buffer_ = Bytes(facts_.stored_size);
    L2vpnDbRecData handlers_record_{};
    std::optional<KeyRequest> handlers_key_;
    const L2vpnDbUpdData update_{nullptr, 0, 0, keep};
};
L2VPN_TEST_TYPED_TABLES(StoreSignals, has_pool);

/// Sends this process a signal every 100 microseconds while in scope.
class Timer {
public:
    Timer() {
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGUSR2;
        EXPECT_EQ(timer_create(CLOCK_MONOTONIC, &event, &timer_), 0);
        const timespec interval{0, 100'000};
        const itimerspec setting{interval, interval};
        EXPECT_EQ(timer_settime(timer_, 0, &setting, nullptr), 0);
    }
    ~Timer() { timer_delete(timer_); }
    Timer(const Timer &) = delete;
    Timer &operator=(const Timer &) = delete;

private:
    timer_t timer_{};
};

TEST_P(StoreSignals, AtAnyTimeDeadlockNothing) {
    constexpr std::uint32_t signals = 300;
    constexpr std::uint32_t records = 40;
    const Counters before = counters();
    std::uint32_t calls = 0;
    std::vector<std::uint32_t> versions(records);
    {
        const Timer timer;
        Bytes stored;
        for (std::uint32_t round = 0; signals_ < signals; ++round) {
            for (std::uint32_t i = 1; i < records; ++i) {
                versions[i] = (round + i) % TestRecords::versions;
                stored = pool_.make(i, versions[i]);
                ASSERT_EQ(raw_write(stored), 0U);
                ASSERT_EQ(raw_update(stored, [](L2vpnDbRecObj *) { return 0U; }), 0U);
                ASSERT_EQ(raw_read(facts_.keys[0], stored), stored);
                calls += 3;
                if (i % 8 == round % 8) {
                    ASSERT_EQ(raw_remove(stored), 0U);
                    ASSERT_EQ(raw_write(stored), 0U);
                    calls += 2;
                }
            }
        }
    }
    EXPECT_EQ(other_code_, 0U);
    EXPECT_GT(performed_, 0U);
    const Counters after = counters();
    std::uint32_t events = 0;
    for (std::size_t event = 0; event < after.size(); ++event)
        events += after[event] - before[event];
    EXPECT_EQ(events, calls + performed_) << "each call counts one event";
    if (raw_read(facts_.keys[0], pool_.make(0, 0))) {
        EXPECT_EQ(raw_remove(pool_.make(0, 0)), 0U);
    }
    EXPECT_EQ(raw_count(), records - 1);
    for (std::uint32_t i = 1; i < records; ++i)
        EXPECT_EQ(raw_read(facts_.keys[0], pool_.make(i, 0)), pool_.make(i, versions[i]));
    EXPECT_EQ(rest_of(open()).size(), records - 1);
}

// The owner of the table's statistics is the main thread, so that the other one batches its events.
TEST_P(StoreSignals, LoseNoEventOfABatch) {
    constexpr std::uint32_t signals = 1000;
    static L2vpnDbTblIntf *descriptor = nullptr;
    static std::atomic<std::uint32_t> handled = 0;
    descriptor = intf_;
    handled = 0;
    struct sigaction action = {};
    action.sa_handler = [](int) {
        std::uint32_t count = 0;
        (void)DAL_VELD_Count(module(), descriptor, &count);
        ++handled;
    };
    ASSERT_EQ(sigaction(SIGUSR2, &action, nullptr), 0);
    const std::uint32_t before = counters()[L2VPN_STORE_STAT_COUNTED];
    std::uint32_t calls = 0;
    sigset_t timer_signal;
    sigemptyset(&timer_signal);
    sigaddset(&timer_signal, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &timer_signal, nullptr);
    {
        const Timer timer;
        std::jthread([&] {
            pthread_sigmask(SIG_UNBLOCK, &timer_signal, nullptr);
            std::uint32_t count = 0;
            for (; handled < signals; ++calls)
                (void)DAL_VELD_Count(module_, intf_, &count);
        }).join();
    }
    pthread_sigmask(SIG_UNBLOCK, &timer_signal, nullptr);
    EXPECT_EQ(counters()[L2VPN_STORE_STAT_COUNTED], before + calls + handled);
}

TEST_P(StoreSignals, OutsideTheStoreAreServed) {
    ASSERT_EQ(raise(SIGUSR1), 0);
    EXPECT_EQ(rejected_, 0U);
    EXPECT_EQ(performed_, 9U);
    EXPECT_EQ(other_code_, 0U);
}

/// Runs in a separate process, in which the table is unused.
class FreshStoreSignals : public StoreSignals {
protected:
    void SetUp() override {
        if (is_used(table_))
            GTEST_SKIP() << "the table may have memory in reserve";
        StoreSignals::SetUp();
        ASSERT_EQ(raw_write(pool_.make(1, 0)), 0U);
        ASSERT_EQ(raw_remove(pool_.make(1, 0)), 0U);
    }
};
L2VPN_TEST_TYPED_TABLES(FreshStoreSignals, has_pool);

TEST_P(FreshStoreSignals, InTheMemoryServiceAreRejected) {
    for (std::uint32_t i = 1; signals_ == 0; ++i) {
        ASSERT_LT(i, pool_size) << "no call allocates";
        raises = true;
        EXPECT_EQ(raw_write(pool_.make(i, 0)), 0U);
        raises = false;
        EXPECT_EQ(raw_count(), i);
    }
    EXPECT_EQ(signals_, 1U);
    EXPECT_EQ(performed_, 0U);
    EXPECT_EQ(rejected_, 7U);
    EXPECT_EQ(other_code_, 0U);
}

} // namespace
} // namespace l2vpn::test
