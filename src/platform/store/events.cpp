// SPDX-License-Identifier: MIT
#include "platform/store/events.h"

#include <atomic>
#include <utility>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::platform {

namespace {

constexpr std::uint32_t max_threads = 4096;

/// Whether thread number n is in use, at n - 1.
constinit std::atomic<bool> in_use[max_threads] = {};

bool alive(std::uint32_t number) {
    return number <= max_threads && in_use[number - 1].load(std::memory_order_relaxed);
}

/// Events of one table that have not been reported yet. Refers to the function, not the descriptor,
/// which may be gone when the batch is reported.
struct EventBatch {
    L2vpnDbStatFn stat = nullptr;
    std::uint32_t total = 0;
    std::uint32_t amounts[L2VPN_DB_STAT_COUNT] = {};

    void add(std::uint32_t event) {
        ++amounts[event];
        ++total;
    }
    void report() const {
        for (std::uint32_t event = 0; total != 0 && event < L2VPN_DB_STAT_COUNT; ++event)
            if (amounts[event] != 0)
                stat(event, amounts[event]);
    }
};

/// Set once the thread's EventThread is destroyed; later events are reported immediately.
constinit thread_local bool ended = false;

} // namespace

/// A thread's number and batch. A statistics function may call the store and thus re-enter this
/// class, so the state is consistent before each such call.
class EventThread {
public:
    EventThread() {
        for (std::uint32_t i = 0; i < max_threads && number_ == 0; ++i)
            if (!in_use[i].exchange(true, std::memory_order_relaxed))
                number_ = i + 1;
    }
    ~EventThread() {
        ended = true;
        report();
        Events::unbatched_thread = 0;
        if (number_ != 0)
            in_use[number_ - 1].store(false, std::memory_order_relaxed);
    }
    EventThread(const EventThread &) = delete;
    EventThread &operator=(const EventThread &) = delete;

    void count(Events &events, L2vpnDbStatFn stat, std::uint32_t event) {
        const std::uint32_t owner = load(events.owner_);
        if (number_ == 0 || (owner != number_ && alive(owner))) {
            add_to_batch(stat, event);
            return;
        }
        store(events.owner_, number_);
        report();
        stat(event, 1);
    }

private:
    void add_to_batch(L2vpnDbStatFn stat, std::uint32_t event) {
        Events::unbatched_thread = 0;
        if (batch_.stat != stat) {
            const EventBatch other = std::exchange(batch_, EventBatch{stat});
            batch_.add(event);
            other.report();
            return;
        }
        batch_.add(event);
        if (batch_.total == L2VPN_STORE_EVENT_LOT)
            report();
    }

    void report() {
        const EventBatch batch = std::exchange(batch_, EventBatch{});
        Events::unbatched_thread = number_;
        batch.report();
    }

    /// 0 if all numbers are in use; such a thread never owns a table.
    std::uint32_t number_ = 0;
    EventBatch batch_;
};

void Events::count_slow(L2vpnDbStatFn stat, std::uint32_t event) {
    if (ended) {
        stat(event, 1);
        return;
    }
    thread_local EventThread thread;
    thread.count(*this, stat, event);
}

} // namespace l2vpn::platform
