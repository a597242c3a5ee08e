// SPDX-License-Identifier: MIT
// A sequence lock. Writers exclude each other by a mutex and change shared data inside write
// sections only. Readers take no lock: they read, and discard the result and retry if a write
// section overlapped.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <mutex>

#include "platform/store/reentrancy_guard.h"

namespace l2vpn::platform {

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): readers and writers use separate lines
class SeqLock {
public:
    SeqLock() = default;
    SeqLock(const SeqLock &) = delete;
    SeqLock &operator=(const SeqLock &) = delete;

    /// Excludes all other writers while in scope. The holder calls the memory service, and a signal
    /// handler may interrupt it: neither must re-enter the store.
    class WriteLock {
    public:
        explicit WriteLock(SeqLock &seqlock) : lock_(seqlock.mutex_) {}

    private:
        ReentrancyGuard guard_;
        std::lock_guard<std::mutex> lock_;
    };

    /// Excludes all writers from before a fork until after it, in the parent and in the child.
    void lock_for_fork() { mutex_.lock(); }
    void unlock_after_fork() { mutex_.unlock(); }

    /// Seqlock write section: the version is odd while in scope. Requires the write lock. Readers
    /// wait for its end: nothing is allocated, computed or touched for the first time inside.
    class WriteSection {
    public:
        explicit WriteSection(SeqLock &seqlock) : version_(seqlock.version_) {
            version_.store(version_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
            std::atomic_thread_fence(std::memory_order_release);
        }
        ~WriteSection() {
            version_.store(version_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
        }
        WriteSection(const WriteSection &) = delete;
        WriteSection &operator=(const WriteSection &) = delete;

    private:
        std::atomic<std::uint64_t> &version_;
    };

    // A call of `read` may see any mixture of old and new data: it must terminate, follow only
    // pointers to memory that is never unmapped, and change nothing but its caller's buffer.

    /// Returns the result of a call of `read` that no write section overlapped.
    template <class Read>
    auto read(const Read &read) {
        decltype(read()) result{};
        return try_read(read, result) ? result : read_slow(read);
    }
    /// Calls `read` once. Returns false if a write section overlapped.
    template <class Read, class Result>
    [[gnu::always_inline]] bool try_read(const Read &read, Result &result) const {
        const std::uint64_t before = version_.load(std::memory_order_acquire);
        if (before % 2 != 0) [[unlikely]]
            return false;
        result = read();
        std::atomic_thread_fence(std::memory_order_acquire);
        return version_.load(std::memory_order_relaxed) == before;
    }
    /// Calls `read` until it succeeds. Retries for some microseconds, then takes the write lock.
    template <class Read>
    auto read_slow(const Read &read) {
        decltype(read()) result{};
        const std::int64_t end = now() + spin_nanoseconds;
        do {
            // Many attempts, as a look at the clock takes longer than most of them.
            for (int attempt = 0; attempt < 16; ++attempt) {
                if (try_read(read, result))
                    return result;
                pause();
            }
        } while (now() < end);
        const WriteLock lock(*this);
        return read();
    }

private:
    static constexpr std::int64_t spin_nanoseconds = 20'000;

    static std::int64_t now() {
        timespec time{};
        (void)clock_gettime(CLOCK_MONOTONIC, &time);
        return time.tv_sec * 1'000'000'000 + time.tv_nsec;
    }

    static void pause() {
#if defined(__x86_64__)
        __builtin_ia32_pause();
#elif defined(__aarch64__)
        __asm__ volatile("isb"); // longer than a yield, which most processors ignore
#endif
    }

    std::mutex mutex_;
    /// On its own cache line, because every reader polls it.
    alignas(64) std::atomic<std::uint64_t> version_{0};
};

} // namespace l2vpn::platform
