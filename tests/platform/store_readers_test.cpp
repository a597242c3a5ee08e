// SPDX-License-Identifier: MIT
// Readers neither sleep nor take the writers' lock while other threads write.
#include <atomic>
#include <memory>
#include <thread>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/resource.h>

#include "tests/platform/store_test.h"

namespace {
constinit thread_local std::uint32_t locks_taken = 0;
}

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define L2VPN_TEST_SANITIZER_HAS_MUTEX
#endif
#elif defined(__SANITIZE_THREAD__)
#define L2VPN_TEST_SANITIZER_HAS_MUTEX
#endif

#ifndef L2VPN_TEST_SANITIZER_HAS_MUTEX
/// Replaces the C library's function in the whole process, to count the calls of each thread.
extern "C" int pthread_mutex_lock(pthread_mutex_t *mutex) noexcept {
    using Lock = int (*)(pthread_mutex_t *);
    static const auto lock = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    ++locks_taken;
    return lock(mutex);
}
#endif

namespace l2vpn::test {
namespace {

constexpr std::uint32_t pool_size = 300;

bool has_pool(const Facts &table) {
    return TestRecords::fits(table, pool_size);
}

class StoreReaders : public StoreTest {
protected:
    struct Waits {
        long sleeps;         ///< how often this thread has given up the processor to wait
        std::uint32_t locks; ///< how many mutexes it has locked
    };

    static Waits waits() {
        rusage usage{};
        EXPECT_EQ(getrusage(RUSAGE_THREAD, &usage), 0);
        return {usage.ru_nvcsw, locks_taken};
    }

    /// Reads records while another thread writes three of them.
    void read_beside_a_writer(std::uint32_t &reads, Waits &waited);

    const TestRecords pool_{facts_, pool_size, TestRecords::Spread::distinct};
};
L2VPN_TEST_TYPED_TABLES(StoreReaders, has_pool);

class StoreReadersNative : public StoreReaders {};
L2VPN_TEST_TYPED_TABLES(StoreReadersNative, has_pool);

void StoreReaders::read_beside_a_writer(std::uint32_t &reads, Waits &waited) {
    for (std::uint32_t number = 0; number < pool_size; ++number)
        ASSERT_EQ(raw_write(pool_.make(number, 0)), 0U);
    std::vector<Bytes> records;
    for (std::uint32_t i = 0; i < 3 * TestRecords::versions; ++i)
        records.push_back(pool_.make(i % 3, i / 3));
    std::atomic<std::uint32_t> writes = 0;
    std::jthread writer([&](const std::stop_token &stop) {
        std::vector<L2vpnDbRecData> requests;
        for (Bytes &stored : records)
            requests.push_back(record_request(stored));
        for (std::uint32_t i = 0; !stop.stop_requested(); ++i) {
            if (DAL_VELD_Write(module_, intf_, &requests[i % requests.size()]) != 0)
                ADD_FAILURE() << "write " << i;
            ++writes;
        }
    });
    while (writes == 0)
        std::this_thread::yield();
    Bytes stored(facts_.stored_size);
    L2vpnDbRecData request = record_request(stored);
    std::vector<std::unique_ptr<KeyRequest>> keys;
    for (std::uint32_t number = 0; number < pool_size; ++number)
        keys.push_back(std::make_unique<KeyRequest>(facts_.keys[0], pool_.primary(number),
                                                    KeyRequest::Value{}));
    const Waits before = waits();
    const std::uint32_t writes_before = writes;
    std::uint32_t code = 0;
    for (; code == 0 && (reads < 100'000 || writes - writes_before < 50'000); ++reads)
        code = DAL_VELD_Read(module_, intf_, &keys[reads % pool_size]->request, &request);
    const Waits after = waits();
    writer.request_stop();
    EXPECT_EQ(code, 0U);
    waited = {after.sleeps - before.sleeps, after.locks - before.locks};
}

// A reader waits only if the writer loses its processor inside a write section.

TEST_P(StoreReaders, TakeNoLockBesideAWriter) {
    std::uint32_t reads = 0;
    Waits waited{};
    ASSERT_NO_FATAL_FAILURE(read_beside_a_writer(reads, waited));
    EXPECT_LT(waited.locks, reads / 1000) << "in " << reads << " reads";
}

// An emulator sleeps for reasons of its own.
TEST_P(StoreReadersNative, DoNotSleepBesideAWriter) {
    std::uint32_t reads = 0;
    Waits waited{};
    ASSERT_NO_FATAL_FAILURE(read_beside_a_writer(reads, waited));
    EXPECT_LT(waited.sleeps, reads / 1000) << "in " << reads << " reads";
}

} // namespace
} // namespace l2vpn::test
