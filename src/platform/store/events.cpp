// SPDX-License-Identifier: MIT
#include "platform/store/events.h"

#include <atomic>
#include <utility>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::platform {

namespace {

constexpr std::uint32_t max_threads = 4096;

/// Which thread numbers are taken; number n stands at n - 1.
constinit std::atomic<bool> taken[max_threads] = {};

bool alive(std::uint32_t number) {
    return number <= max_threads && taken[number - 1].load(std::memory_order_relaxed);
}

/// Events of one table that have been counted but not yet reported. By the function and not the
/// descriptor, which may be gone by then.
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

/// True once the thread's EventThread is gone: what it counts from then on is not held back.
constinit thread_local bool ended = false;

} // namespace

/// A thread's number and lot. A statistics function may call the store, which counts here again:
/// everything is put in order before it is called.
class EventThread {
public:
    EventThread() {
        for (std::uint32_t i = 0; i < max_threads && number_ == 0; ++i)
            if (!taken[i].exchange(true, std::memory_order_relaxed))
                number_ = i + 1;
    }
    ~EventThread() {
        ended = true;
        report();
        Events::idle_thread = 0;
        if (number_ != 0)
            taken[number_ - 1].store(false, std::memory_order_relaxed);
    }
    EventThread(const EventThread &) = delete;
    EventThread &operator=(const EventThread &) = delete;

    void count(Events &events, L2vpnDbStatFn stat, std::uint32_t event) {
        const std::uint32_t owner = load(events.owner_);
        if (number_ == 0 || (owner != number_ && alive(owner))) {
            hold_back(stat, event);
            return;
        }
        store(events.owner_, number_);
        report();
        stat(event, 1);
    }

private:
    void hold_back(L2vpnDbStatFn stat, std::uint32_t event) {
        Events::idle_thread = 0;
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
        const EventBatch lot = std::exchange(batch_, EventBatch{});
        Events::idle_thread = number_;
        lot.report();
    }

    /// 0 for a thread beyond the first few thousand, which never owns a table.
    std::uint32_t number_ = 0;
    EventBatch batch_;
};

void Events::count_slow(L2vpnDbStatFn stat, std::uint32_t event) {
    if (ended) {
        stat(event, 1);
        return;
    }
    thread_local EventThread me;
    me.count(*this, stat, event);
}

} // namespace l2vpn::platform
