// SPDX-License-Identifier: MIT
// Forces a fixed interleaving of threads by numbered steps.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>

#include <unistd.h>

namespace l2vpn::test {

class Script {
public:
    /// Blocks until the script has reached `step`.
    void wait_for(std::uint32_t step) {
        std::unique_lock lock(mutex_);
        moved_.wait(lock, [&] { return step_ >= step; });
    }
    /// Sets the step and wakes the threads that wait for it.
    void advance_to(std::uint32_t step) {
        const std::lock_guard lock(mutex_);
        step_ = step;
        moved_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable moved_;
    std::uint32_t step_ = 0;
};

/// Runs a call on another thread; its creator can wait until that thread blocks.
class BackgroundCall {
public:
    template <class Call>
    explicit BackgroundCall(Call call)
        : thread_([this, call] {
              id_ = gettid();
              started_.advance_to(1);
              call();
          }) {
        started_.wait_for(1);
    }

    /// Returns when the thread sleeps in the kernel, as on a contended mutex, or has ended.
    void wait_until_blocked() const {
        const std::string path = "/proc/self/task/" + std::to_string(id_) + "/stat";
        for (;;) {
            std::string stat;
            std::getline(std::ifstream(path), stat);
            const std::size_t state = stat.rfind(") ");
            if (state == std::string::npos || stat.at(state + 2) != 'R')
                return;
            std::this_thread::yield();
        }
    }
    void join() { thread_.join(); }

private:
    Script started_;
    pid_t id_ = 0;
    std::jthread thread_;
};

} // namespace l2vpn::test
