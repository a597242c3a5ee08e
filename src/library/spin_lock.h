// SPDX-License-Identifier: MIT
// Spin lock of a control block: 4 bytes, unlocked when zero, because a fast iterator can be created
// before GlbInit runs.
#pragma once

#include <cstdint>

#include <pthread.h>

namespace [[gnu::visibility("hidden")]] l2vpn {

#if defined(__x86_64__)

// glibc's pthread_spinlock_t is 1 when unlocked here: a zero-filled one would deadlock. This lock
// has the same contract with 0 for unlocked.

inline void spin_init(std::uint32_t &lock) {
    __atomic_store_n(&lock, 0, __ATOMIC_RELAXED);
}

inline void spin_lock(std::uint32_t &lock) {
    while (__atomic_exchange_n(&lock, 1, __ATOMIC_ACQUIRE) != 0)
        while (__atomic_load_n(&lock, __ATOMIC_RELAXED) != 0)
            __builtin_ia32_pause();
}

inline void spin_unlock(std::uint32_t &lock) {
    __atomic_store_n(&lock, 0, __ATOMIC_RELEASE);
}

#elif defined(__aarch64__)

inline pthread_spinlock_t *posix(std::uint32_t &lock) {
    static_assert(sizeof(pthread_spinlock_t) == sizeof lock);
    return reinterpret_cast<pthread_spinlock_t *>(&lock);
}

inline void spin_init(std::uint32_t &lock) {
    pthread_spin_init(posix(lock), PTHREAD_PROCESS_PRIVATE);
}
inline void spin_lock(std::uint32_t &lock) {
    pthread_spin_lock(posix(lock));
}
inline void spin_unlock(std::uint32_t &lock) {
    pthread_spin_unlock(posix(lock));
}

#else
#error "64-bit ARM and x86-64 are supported: is a zero-filled pthread_spinlock_t unlocked here?"
#endif

/// Holds the lock while in scope.
class SpinGuard {
public:
    explicit SpinGuard(std::uint32_t &lock) : lock_(lock) { spin_lock(lock_); }
    ~SpinGuard() { spin_unlock(lock_); }
    SpinGuard(const SpinGuard &) = delete;
    SpinGuard &operator=(const SpinGuard &) = delete;

private:
    std::uint32_t &lock_;
};

} // namespace l2vpn
