// SPDX-License-Identifier: MIT
#include "platform/store/random.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>

#include <pthread.h>
#include <sys/auxv.h>
#include <sys/random.h>

namespace l2vpn::platform {

namespace {

/// For systems that lack or forbid getrandom(): expands the 16 random bytes of the auxiliary vector
/// and the time.
void fill_from_process(char *memory, std::size_t size) {
    std::uint64_t state[2] = {};
    if (const unsigned long given = getauxval(AT_RANDOM); given != 0)
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        std::memcpy(state, reinterpret_cast<const void *>(given), sizeof state);
    timespec now{};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    state[0] += static_cast<std::uint64_t>(now.tv_nsec) ^ reinterpret_cast<std::uintptr_t>(memory);
    for (std::size_t at = 0; at < size; ++at) {
        state[0] += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = state[0] ^ state[1];
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
        memory[at] = static_cast<char>(mixed >> 56);
    }
}

} // namespace

void fill_random(void *memory, std::size_t size) {
    // getrandom() is a cancellation point, and the caller holds a lock.
    int cancellation = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellation);
    auto *at = static_cast<char *>(memory);
    while (size != 0) {
        const ssize_t filled = getrandom(at, size, 0);
        if (filled <= 0) {
            if (filled < 0 && errno == EINTR)
                continue;
            fill_from_process(at, size);
            break;
        }
        at += filled;
        size -= static_cast<std::size_t>(filled);
    }
    pthread_setcancelstate(cancellation, nullptr);
}

} // namespace l2vpn::platform
