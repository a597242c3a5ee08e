// SPDX-License-Identifier: MIT
// A sequence lock. Writers exclude each other by a mutex and change shared data inside write
// sections only. Readers take no lock: they read, and discard the result and retry if a write
// section overlapped.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "platform/store/reentrancy_guard.h"

namespace l2vpn::platform {

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): readers and writers use separate lines
class SeqLock {
public:
    SeqLock() = default;
    SeqLock(const SeqLock &) = delete;
    SeqLock &operator=(const SeqLock &) = delete;

    /// Excludes all other writers while in scope. The holder calls setters and the memory service,
    /// which must not re-enter the store.
    class WriteLock {
    public:
        explicit WriteLock(SeqLock &seqlock) : lock_(seqlock.mutex_) {}

    private:
        std::lock_guard<std::mutex> lock_;
        ReentrancyGuard guard_;
    };

    /// Excludes all writers from before a fork until after it, in the parent and in the child.
    void lock_for_fork() { mutex_.lock(); }
    void unlock_after_fork() { mutex_.unlock(); }

    /// Seqlock write section: the version is odd while in scope. Requires the write lock.
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

    /// Returns the result of a call of `read` that no write section overlapped. Retries a few
    /// times, then takes the write lock. `read` may see any mixture of old and new data: it must
    /// terminate, follow only pointers to memory that is never unmapped, and change nothing but
    /// its caller's buffer.
    template <class Read>
    auto read(Read read) {
        decltype(read()) result{};
        return try_read(read, result) ? result : read_slow(read);
    }

private:
    static constexpr int max_attempts = 4;

    /// Calls `read` once. Returns false if a write section overlapped.
    template <class Read, class Result>
    bool try_read(const Read &read, Result &result) const {
        const std::uint64_t before = version_.load(std::memory_order_acquire);
        if (before % 2 != 0) [[unlikely]]
            return false;
        result = read();
        std::atomic_thread_fence(std::memory_order_acquire);
        return version_.load(std::memory_order_relaxed) == before;
    }

    template <class Read>
    [[gnu::noinline, gnu::cold]] auto read_slow(Read read) {
        decltype(read()) result{};
        for (int attempt = 1; attempt < max_attempts; ++attempt) {
            pause();
            if (try_read(read, result))
                return result;
        }
        const WriteLock lock(*this);
        return read();
    }

    static void pause() {
#if defined(__x86_64__)
        __builtin_ia32_pause();
#elif defined(__aarch64__)
        __asm__ volatile("yield");
#endif
    }

    std::mutex mutex_;
    /// On its own cache line, because every reader polls it.
    alignas(64) std::atomic<std::uint64_t> version_{0};
};

} // namespace l2vpn::platform
