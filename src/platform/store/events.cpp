// SPDX-License-Identifier: MIT
#include "platform/store/events.h"

#include <atomic>
#include <climits>
#include <utility>

#include <cxxabi.h>
#include <pthread.h>

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

    void add(std::uint32_t event, std::uint32_t amount) {
        amounts[event] += amount;
        total += amount;
    }
    void report() const {
        for (std::uint32_t event = 0; total != 0 && event < L2VPN_DB_STAT_COUNT; ++event)
            if (amounts[event] != 0)
                stat(event, amounts[event]);
    }
};

} // namespace

/// A thread's number and batch. A statistics function or a signal handler may call the store and
/// thus re-enter this class: such events are reported immediately.
class EventThread {
public:
    static constinit thread_local EventThread current;

    [[nodiscard]] std::uint32_t number() const { return number_; }

    void count(Events &events, L2vpnDbStatFn stat, std::uint32_t event, std::uint32_t amount) {
        if (counting_ || state_ == State::unbatched) {
            stat(event, amount);
            return;
        }
        const Counting scope(counting_);
        if (state_ == State::unused)
            begin();
        const std::uint32_t owner = load(events.owner_);
        if (state_ == State::unbatched) {
            stat(event, amount);
        } else if (number_ == 0 || (owner != number_ && alive(owner))) {
            add_to_batch(stat, event, amount);
        } else {
            store(events.owner_, number_);
            report();
            stat(event, amount);
        }
    }

    /// Reports the batch; later events are reported immediately.
    void end() {
        state_ = State::unbatched;
        report();
        Events::unbatched_thread = 0;
        if (number_ != 0)
            in_use[std::exchange(number_, 0) - 1].store(false, std::memory_order_relaxed);
    }

private:
    enum class State : std::uint8_t { unused, batched, unbatched };

    /// Marks the state as inconsistent while in scope.
    class Counting {
    public:
        explicit Counting(bool &counting) : counting_(counting) {
            counting_ = true;
            std::atomic_signal_fence(std::memory_order_seq_cst);
        }
        ~Counting() {
            std::atomic_signal_fence(std::memory_order_seq_cst);
            counting_ = false;
        }
        Counting(const Counting &) = delete;
        Counting &operator=(const Counting &) = delete;

    private:
        bool &counting_;
    };

    void begin();

    void add_to_batch(L2vpnDbStatFn stat, std::uint32_t event, std::uint32_t amount) {
        Events::unbatched_thread = 0;
        if (batch_.stat != stat) {
            const EventBatch other = std::exchange(batch_, EventBatch{stat});
            batch_.add(event, amount);
            other.report();
            return;
        }
        batch_.add(event, amount);
        if (batch_.total >= L2VPN_STORE_EVENT_LOT)
            report();
    }

    void report() {
        const EventBatch batch = std::exchange(batch_, EventBatch{});
        Events::unbatched_thread = number_;
        batch.report();
    }

    /// 0 if all numbers are in use; such a thread never owns a table.
    std::uint32_t number_ = 0;
    State state_ = State::unused;
    bool counting_ = false;
    EventBatch batch_;
};

constinit thread_local EventThread EventThread::current;

namespace {

// A thread-specific key, because a thread-local destructor aborts the process if its registration
// cannot allocate memory.

constinit pthread_key_t key = PTHREAD_KEYS_MAX; ///< invalid if it cannot be created

void end_thread(void * /*value*/) {
    EventThread::current.end();
}

// At load, because each thread can set the first 32 keys without an allocation.
[[gnu::constructor]] void create_key() {
    pthread_key_create(&key, end_thread);
}

/// Destructors of keys do not run in a thread that exits the process. Registered once, with the
/// first thread.
void register_exit_handler() {
    static constinit std::atomic<bool> registered{false};
    if (!registered.exchange(true, std::memory_order_relaxed))
        abi::__cxa_atexit(end_thread, nullptr, nullptr);
}

} // namespace

/// Batches the thread's events only if they are certain to be reported when it ends.
void EventThread::begin() {
    if (pthread_setspecific(key, this) != 0) {
        state_ = State::unbatched;
        return;
    }
    register_exit_handler();
    state_ = State::batched;
    for (std::uint32_t i = 0; i < max_threads && number_ == 0; ++i)
        if (!in_use[i].exchange(true, std::memory_order_relaxed))
            number_ = i + 1;
}

void Events::count_slow(L2vpnDbStatFn stat, std::uint32_t event, std::uint32_t amount) {
    EventThread::current.count(*this, stat, event, amount);
}

void Events::forget_other_threads() {
    const std::uint32_t own = EventThread::current.number();
    for (std::uint32_t i = 0; i < max_threads; ++i)
        in_use[i].store(i + 1 == own, std::memory_order_relaxed);
}

} // namespace l2vpn::platform
