// SPDX-License-Identifier: MIT
#include "platform/memory/events.h"

#include <atomic>
#include <utility>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::platform {

namespace {

constexpr std::uint32_t max_threads = 4096;

/// Which thread numbers are taken; number n stands at n - 1.
constinit std::atomic<bool> taken[max_threads] = {};

bool alive(std::uint32_t number) {
    return number != 0 && taken[number - 1].load(std::memory_order_relaxed);
}

/// Events of one table that have been counted but not yet reported. By the function and not the
/// descriptor, which may be gone by then.
struct Lot {
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

/// True once the thread's Thread is gone: what it counts from then on is not held back.
constinit thread_local bool ended = false;

/// A thread's number and lot. A statistics function may call the store, which counts here again:
/// the lot is put in order before it is called.
class Thread {
public:
    Thread() {
        for (std::uint32_t i = 0; i < max_threads && number_ == 0; ++i)
            if (!taken[i].exchange(true, std::memory_order_relaxed))
                number_ = i + 1;
    }
    ~Thread() {
        ended = true;
        report();
        if (number_ != 0)
            taken[number_ - 1].store(false, std::memory_order_relaxed);
    }
    Thread(const Thread &) = delete;
    Thread &operator=(const Thread &) = delete;

    /// 0 for a thread beyond the first few thousand, which never owns a table.
    [[nodiscard]] std::uint32_t number() const { return number_; }

    /// Counts an event of a table that the thread owns.
    void count(L2vpnDbStatFn stat, std::uint32_t event) {
        if (stat != run_stat_ || event != run_event_) {
            run_stat_ = stat;
            run_event_ = event;
            run_ = 0;
        }
        if (run_ == L2VPN_STORE_EVENT_RUN) {
            hold_back(stat, event);
            return;
        }
        ++run_;
        report();
        stat(event, 1);
    }

    void hold_back(L2vpnDbStatFn stat, std::uint32_t event) {
        if (lot_.stat != stat) {
            const Lot other = std::exchange(lot_, Lot{stat});
            lot_.add(event);
            other.report();
            return;
        }
        lot_.add(event);
        if (lot_.total == L2VPN_STORE_EVENT_LOT)
            report();
    }

    void report() {
        if (lot_.total != 0)
            std::exchange(lot_, Lot{}).report();
    }

private:
    std::uint32_t number_ = 0;
    Lot lot_;
    /// How often the thread, as an owner, has counted the same event without another in between.
    std::uint32_t run_ = 0;
    std::uint32_t run_event_ = 0;
    L2vpnDbStatFn run_stat_ = nullptr;
};

} // namespace

void Events::count(const L2vpnDbTblIntf &descriptor, std::uint32_t event) {
    const L2vpnDbStatFn stat = descriptor.stat;
    if (stat == nullptr)
        return;
    if (ended) {
        stat(event, 1);
        return;
    }
    thread_local Thread me;
    std::uint32_t owner = load(owner_);
    if (owner != me.number() && !alive(owner)) {
        owner = me.number();
        store(owner_, owner);
    }
    if (owner == me.number() && owner != 0)
        me.count(stat, event);
    else
        me.hold_back(stat, event);
}

} // namespace l2vpn::platform
