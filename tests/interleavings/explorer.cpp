// SPDX-License-Identifier: MIT
#include "tests/interleavings/explorer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unordered_set>
#include <utility>

#include <pthread.h>
#include <ucontext.h>

namespace l2vpn::interleavings {
namespace {

enum class Kind : std::uint8_t { none, read, write, load, store, change, lock, unlock, finished };

/// The next access of a thread.
struct Access {
    Kind kind = Kind::none;
    std::size_t at = 0;
    std::size_t size = 0;

    [[nodiscard]] bool writes() const {
        return kind == Kind::write || kind == Kind::store || kind == Kind::change;
    }
    [[nodiscard]] bool plain() const { return kind == Kind::read || kind == Kind::write; }
    [[nodiscard]] bool conflicts(const Access &other) const {
        const bool both = (plain() || kind == Kind::load || writes()) &&
                          (other.plain() || other.kind == Kind::load || other.writes());
        return both && at < other.at + other.size && other.at < at + size &&
               (writes() || other.writes()) && (plain() || other.plain());
    }
    /// Whether it is a locked instruction, which drains the store buffer.
    [[nodiscard]] bool drains() const {
        return kind == Kind::change || kind == Kind::lock || kind == Kind::unlock;
    }
};

constexpr std::size_t max_size = 256;
constexpr std::size_t max_pending_writes = 48;
constexpr std::size_t widest = 16;

struct PendingWrite {
    std::uint32_t at;
    std::uint32_t size;
    bool locked; ///< by a locked instruction
    std::uint8_t bytes[widest];
};

struct Thread {
    ucontext_t context;
    Access next;
    std::uint64_t history[2]; ///< hash of its accesses and the values it read
    std::size_t writes;
    PendingWrite pending[max_pending_writes];
    Access made;          ///< the last one
    std::uint64_t before; ///< value that it found
    bool owns;
    Notes notes;
    alignas(64) char stack[16384];

    /// Bytes of the stack in use, the red zone included.
    [[nodiscard]] std::size_t used() const {
        const auto top = reinterpret_cast<std::uintptr_t>(stack + sizeof stack);
        return top - static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RSP]) + 128;
    }
};

struct World {
    Thread threads[max_threads];
    std::uint8_t memory[max_size];
    bool overrun;
};

World world;

std::uint8_t *object = nullptr;
std::size_t object_size = 0;
std::size_t watched = 0;
std::size_t thread_count = 0;
bool buffered = false;
const std::function<void()> *bodies = nullptr;

ucontext_t scheduler;
Thread *running = nullptr;

/// A snapshot of the world. It is restored to the same addresses, so that pointers into stacks stay
/// valid.
class Snapshot {
public:
    Snapshot() {
        for (const Thread &thread : std::span(world.threads, thread_count)) {
            keep(&thread, offsetof(Thread, stack));
            keep(thread.stack + sizeof thread.stack - thread.used(), thread.used());
        }
        keep(world.memory, sizeof world.memory);
        keep(&world.overrun, sizeof world.overrun);
    }
    void restore() const {
        const char *from = bytes_.data();
        const auto put = [&](void *to, std::size_t size) {
            std::memcpy(to, from, size);
            from += size;
        };
        for (Thread &thread : std::span(world.threads, thread_count)) {
            put(&thread, offsetof(Thread, stack));
            put(thread.stack + sizeof thread.stack - thread.used(), thread.used());
        }
        put(world.memory, sizeof world.memory);
        put(&world.overrun, sizeof world.overrun);
    }

private:
    void keep(const void *from, std::size_t size) {
        bytes_.append(static_cast<const char *>(from), size);
    }

    std::string bytes_;
};

void mix(std::uint64_t (&hash)[2], const void *data, std::size_t size) {
    const auto *const bytes = static_cast<const std::uint8_t *>(data);
    for (std::size_t i = 0; i < size; ++i) {
        hash[0] = (hash[0] ^ bytes[i]) * UINT64_C(0x100000001B3);
        hash[1] = (hash[1] + bytes[i] + 1) * UINT64_C(0x9E3779B97F4A7C15);
        hash[1] ^= hash[1] >> 29;
    }
}

/// Shows the object as a thread sees it: memory and its own store buffer.
void show(const Thread &thread) {
    std::memcpy(object, world.memory, object_size);
    for (std::size_t i = 0; i < thread.writes; ++i)
        std::memcpy(object + thread.pending[i].at, thread.pending[i].bytes, thread.pending[i].size);
}

void drain_one(Thread &thread) {
    const PendingWrite &first = thread.pending[0];
    std::memcpy(world.memory + first.at, first.bytes, first.size);
    if (first.at == watched && !first.locked && !std::exchange(thread.owns, false))
        for (const Thread &other : std::span(world.threads, thread_count))
            world.overrun = world.overrun || other.owns;
    --thread.writes;
    std::memmove(thread.pending, thread.pending + 1, thread.writes * sizeof(PendingWrite));
}

std::uint64_t seen(const Access &access) {
    std::uint64_t value = 0;
    std::memcpy(&value, object + access.at, std::min(access.size, sizeof value));
    return value;
}

/// Yields to the scheduler; returns when this thread may make the access.
void yield_before(Kind kind, const void *address, std::size_t size) {
    const auto *const at = static_cast<const std::uint8_t *>(address);
    if (running == nullptr ||
        (kind != Kind::finished && (at < object || at >= object + object_size)))
        return;
    Thread &self = *running;
    self.next = {kind, static_cast<std::size_t>(at - object), size};
    swapcontext(&self.context, &scheduler);
    if (kind == Kind::read)
        mix(self.history, at, size);
}

void begin(unsigned number) {
    bodies[number]();
    forget();
    yield_before(Kind::finished, object, 0);
}

/// Runs a thread through its next access, up to the one after it.
void step(Thread &thread) {
    const Access made = thread.next;
    show(thread);
    const std::uint64_t before = made.kind == Kind::none ? 0 : seen(made);
    running = &thread;
    swapcontext(&scheduler, &thread.context);
    running = nullptr;
    const std::uint64_t marks[] = {static_cast<std::uint64_t>(made.kind), made.at, before};
    mix(thread.history, marks, made.plain() ? 2 * sizeof *marks : sizeof marks);
    thread.made = made;
    thread.before = before;
    if (made.at == watched && made.kind == Kind::change && before == 0)
        thread.owns = true;
    if (made.writes() || made.drains()) {
        PendingWrite &write = thread.pending[thread.writes++];
        if (thread.writes == max_pending_writes || made.size > widest)
            std::abort();
        write.at = static_cast<std::uint32_t>(made.at);
        write.size = static_cast<std::uint32_t>(made.size);
        write.locked = made.drains();
        std::memcpy(write.bytes, object + made.at, made.size);
        while (thread.writes != 0 && (!buffered || made.drains()))
            drain_one(thread);
    }
}

bool may_step(const Thread &thread) {
    const Access &next = thread.next;
    if (next.kind == Kind::finished || (next.drains() && thread.writes != 0))
        return false;
    if (next.kind == Kind::lock && world.memory[next.at] != 0)
        return false;
    if (next.kind == Kind::load && thread.made.kind == Kind::load && thread.made.at == next.at) {
        show(thread);
        return seen(next) != thread.before;
    }
    return true;
}

/// The possible transitions: a thread's step, or its oldest buffered store becoming visible.
std::vector<std::size_t> transitions() {
    std::vector<std::size_t> all;
    for (std::size_t t = 0; t < thread_count; ++t) {
        if (may_step(world.threads[t]))
            all.push_back(t);
        if (world.threads[t].writes != 0)
            all.push_back(max_threads + t);
    }
    return all;
}

void take(std::size_t choice) {
    if (choice < max_threads)
        step(world.threads[choice]);
    else
        drain_one(world.threads[choice - max_threads]);
}

using Identity = std::pair<std::uint64_t, std::uint64_t>;
struct HashOfIdentity {
    std::size_t operator()(const Identity &identity) const { return identity.first; }
};

Identity identity() {
    std::uint64_t hash[2] = {UINT64_C(0xCBF29CE484222325), 1};
    mix(hash, world.memory, object_size);
    mix(hash, &world.overrun, sizeof world.overrun);
    for (std::size_t t = 0; t < thread_count; ++t) {
        const Thread &thread = world.threads[t];
        mix(hash, thread.history, sizeof thread.history);
        mix(hash, &thread.writes, sizeof thread.writes);
        for (std::size_t i = 0; i < thread.writes; ++i)
            mix(hash, thread.pending[i].bytes, thread.pending[i].size);
    }
    return {hash[0], hash[1]};
}

State state(bool stuck) {
    State here;
    here.overrun = world.overrun;
    here.memory = {world.memory, object_size};
    bool finished = true;
    for (std::size_t t = 0; t < thread_count; ++t) {
        const Thread &thread = world.threads[t];
        here.owners += thread.owns ? 1 : 0;
        here.notes.push_back(thread.notes);
        finished = finished && thread.next.kind == Kind::finished;
        for (std::size_t other = 0; other < t; ++other)
            here.race = here.race || thread.next.conflicts(world.threads[other].next);
    }
    here.end = stuck && finished;
    here.deadlock = stuck && !finished;
    return here;
}

} // namespace

std::uint64_t explore(const Scenario &scenario, const std::function<void(const State &)> &visit) {
    object = static_cast<std::uint8_t *>(scenario.object);
    object_size = scenario.size;
    watched =
        static_cast<std::size_t>(reinterpret_cast<const std::uint8_t *>(scenario.watched) - object);
    thread_count = scenario.threads.size();
    buffered = scenario.memory_model == MemoryModel::total_store_order;
    bodies = scenario.threads.data();
    if (object_size > max_size || thread_count > max_threads)
        std::abort();
    world = {};
    std::memcpy(world.memory, object, object_size);
    const std::vector<std::uint8_t> original(object, object + object_size);
    for (std::size_t t = 0; t < thread_count; ++t) {
        Thread &thread = world.threads[t];
        getcontext(&thread.context);
        thread.context.uc_stack.ss_sp = thread.stack;
        thread.context.uc_stack.ss_size = sizeof thread.stack;
        makecontext(&thread.context, reinterpret_cast<void (*)()>(begin), 1,
                    static_cast<unsigned>(t));
        step(thread);
    }

    struct Frame {
        Snapshot world;
        std::vector<std::size_t> transitions;
    };
    std::vector<Frame> path;
    std::unordered_set<Identity, HashOfIdentity> known;
    const auto reached = [&] {
        if (!known.insert(identity()).second)
            return;
        std::vector<std::size_t> next = transitions();
        visit(state(next.empty()));
        if (!next.empty())
            path.push_back({Snapshot(), std::move(next)});
    };
    reached();
    while (!path.empty()) {
        Frame &last = path.back();
        if (last.transitions.empty()) {
            path.pop_back();
            continue;
        }
        const std::size_t choice = last.transitions.back();
        last.transitions.pop_back();
        last.world.restore();
        take(choice);
        reached();
    }
    std::memcpy(object, original.data(), object_size);
    return known.size();
}

std::size_t this_thread() {
    return static_cast<std::size_t>(running - world.threads);
}

std::uint8_t &note(std::size_t name) {
    return running->notes.at(name);
}

void forget() {
    running->history[0] = 0;
    running->history[1] = 0;
    mix(running->history, &running->notes, sizeof running->notes);
}

} // namespace l2vpn::interleavings

using namespace l2vpn::interleavings;

// ---- Instrumentation hooks ----------------------------------------------------------------------

// NOLINTBEGIN
extern "C" {

void __tsan_init() {}
void __tsan_func_entry(void *) {}
void __tsan_func_exit() {}

#define PLAIN(size)                                                                                \
    void __tsan_read##size(void *at) {                                                             \
        yield_before(Kind::read, at, size);                                                        \
    }                                                                                              \
    void __tsan_write##size(void *at) {                                                            \
        yield_before(Kind::write, at, size);                                                       \
    }                                                                                              \
    void __tsan_unaligned_read##size(void *at) {                                                   \
        yield_before(Kind::read, at, size);                                                        \
    }                                                                                              \
    void __tsan_unaligned_write##size(void *at) {                                                  \
        yield_before(Kind::write, at, size);                                                       \
    }
PLAIN(1)
PLAIN(2)
PLAIN(4)
PLAIN(8)
PLAIN(16)

void __tsan_read_range(void *at, std::size_t size) {
    yield_before(Kind::read, at, size);
}
void __tsan_write_range(void *at, std::size_t size) {
    yield_before(Kind::write, at, size);
}

std::uint32_t __tsan_atomic32_load(const volatile std::uint32_t *at, int) {
    yield_before(Kind::load, const_cast<const std::uint32_t *>(at), sizeof *at);
    return *at;
}
void __tsan_atomic32_store(volatile std::uint32_t *at, std::uint32_t value, int order) {
    if (order == __ATOMIC_SEQ_CST)
        std::abort(); // a locked instruction, which no scenario uses
    yield_before(Kind::store, const_cast<const std::uint32_t *>(at), sizeof *at);
    *at = value;
}
std::uint32_t __tsan_atomic32_exchange(volatile std::uint32_t *at, std::uint32_t value, int) {
    yield_before(Kind::change, const_cast<const std::uint32_t *>(at), sizeof *at);
    const std::uint32_t old = *at;
    *at = value;
    return old;
}
std::uint32_t __tsan_atomic32_fetch_add(volatile std::uint32_t *at, std::uint32_t value, int) {
    yield_before(Kind::change, const_cast<const std::uint32_t *>(at), sizeof *at);
    const std::uint32_t old = *at;
    *at = old + value;
    return old;
}

int __real_pthread_mutex_lock(pthread_mutex_t *mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t *mutex);

// Within a scenario a mutex is its first byte.
int __wrap_pthread_mutex_lock(pthread_mutex_t *mutex) {
    if (running == nullptr)
        return __real_pthread_mutex_lock(mutex);
    yield_before(Kind::lock, mutex, 1);
    *reinterpret_cast<std::uint8_t *>(mutex) = 1;
    return 0;
}
int __wrap_pthread_mutex_unlock(pthread_mutex_t *mutex) {
    if (running == nullptr)
        return __real_pthread_mutex_unlock(mutex);
    yield_before(Kind::unlock, mutex, 1);
    *reinterpret_cast<std::uint8_t *>(mutex) = 0;
    return 0;
}
}
// NOLINTEND
