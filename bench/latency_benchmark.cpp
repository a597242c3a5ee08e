// SPDX-License-Identifier: MIT
// Latency of single reads while another thread writes.
#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include <fmt/format.h>
#include <sys/resource.h>

#include "bench/benchmarks.h"
#include "bench/latencies.h"
#include "bench/processors.h"
#include "bench/sample_records.h"
#include "bench/slice.h"
#include "l2vpn_db/l2vpn_vll_pw.h"
#include "l2vpn_db/platform.h"

namespace l2vpn::bench {

namespace {

constexpr std::uint32_t reads = 100'000; ///< per slice

template <class Operation>
void add_timed(Latencies &latencies, Operation operation) {
    const double start = wall_time();
    operation();
    latencies.add(wall_time() - start);
}

/// Median of the time between two readings of the clock.
double clock_overhead() {
    Latencies latencies;
    for (std::uint32_t n = 0; n < reads; ++n)
        add_timed(latencies, [] {});
    return latencies.quantile(0.5);
}

// ---- Overwriting ----

/// Times reads of random records.
Latencies read_randomly(const std::vector<std::uint32_t> &numbers, std::size_t first) {
    Latencies latencies;
    L2vpnVplsPw record = pseudowire(0);
    for (std::size_t n = first; n < first + reads; ++n) {
        record.pwTunnelId = numbers[n % order_length];
        add_timed(latencies, [&] { check(L2VPN_DB_L2vpnVplsPwRead(&record)); });
    }
    return latencies;
}

/// Overwrites three records while it exists. The constructor waits for the first write.
class Overwriting {
public:
    Overwriting() { written_.wait(0); }

private:
    void run(const std::stop_token &stop) {
        bind_to(processors()[1]);
        // Each record has two states, which differ in the values of all secondary keys.
        char stored[2 * records][stored_length] = {};
        for (std::uint32_t i = 0; i < 2 * records; ++i) {
            L2vpnVplsPw record = pseudowire(i % records);
            if (i >= records) {
                record.instanceId += 1'000'000;
                record.l2vpnIid += 10'000'000;
                record.srcPid += 10;
            }
            L2VPN_DB_L2vpnVplsPwSetAllFields(&record, stored[i]);
        }
        for (std::uint32_t n = 0; !stop.stop_requested(); ++n) {
            const L2vpnDbRecData record{stored[n % (2 * records)], stored_length, 0};
            check(DAL_VELD_Write(&g_l2vpnDbModuleIntf, &g_l2vpnL2vpnVplsPwIntf, &record));
            written_.store(n + 1, std::memory_order_relaxed);
            if (n == 0)
                written_.notify_one();
        }
    }

    static constexpr std::uint32_t records = 3;

    std::atomic<std::uint32_t> written_ = 0;
    std::jthread thread_{[this](const std::stop_token &stop) { run(stop); }};
};

Slices set_up_overwriting(std::uint32_t size) {
    fill_table(size);
    bind_to(processors()[0]);
    const auto numbers = std::make_shared<const std::vector<std::uint32_t>>(random_order(size));
    const auto first = std::make_shared<std::size_t>(0);
    const auto next = [numbers, first] { return read_randomly(*numbers, *first += reads); };
    return {{"median, undisturbed", [next] { return next().quantile(0.5); }},
            {"p99, overwriting",
             [next] {
                 const Overwriting writer;
                 return next().quantile(0.99);
             }},
            {"clock", clock_overhead}};
}

// ---- Inserting ----

L2vpnVllPw inserted_record(std::uint32_t i) {
    L2vpnVllPw record{};
    record.vrIndex = 1;
    record.pwTunnelId = i;
    record.pwTunnelType = 3;
    record.instanceId = i / 10;
    record.l2vpnIid = i;
    record.srcPid = i % 3;
    return record;
}

void insert_read_record(std::uint32_t i) {
    const L2vpnVllPw record = inserted_record(i);
    check(L2VPN_DB_L2vpnVllPwWrite(&record));
}

void insert_other_record(std::uint32_t i) {
    const L2vpnVplsPw record = pseudowire(i);
    check(L2VPN_DB_L2vpnVplsPwWrite(&record));
}

/// Times operations, except those during which the thread was preempted.
class UndisturbedLatencies {
public:
    template <class Operation>
    void add(Operation operation) {
        const double start = wall_time();
        if (start - last_end_ > slow)
            preemptions_ = preemptions(); // between two operations
        operation();
        last_end_ = wall_time();
        if (last_end_ - start <= slow || preemptions() == preemptions_)
            latencies_.add(last_end_ - start);
        else
            preemptions_ = preemptions();
    }
    [[nodiscard]] const Latencies &get() const { return latencies_; }

private:
    static constexpr double slow = 10'000; ///< nanoseconds; preemption takes longer

    static long preemptions() {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return usage.ru_nivcsw;
    }

    Latencies latencies_;
    double last_end_ = 0;
    long preemptions_ = 0;
};

/// Inserts `size` records on another thread. Meanwhile, times reads of random records: of those
/// that `present` counts.
Slice reading_while_inserting(std::uint32_t size, void (*insert)(std::uint32_t), bool filled) {
    return [=] {
        UndisturbedLatencies latencies;
        std::atomic<std::uint32_t> inserted = 0;
        const std::jthread writer([&] {
            bind_to(processors()[1]);
            for (std::uint32_t i = 0; i < size; ++i) {
                insert(i);
                inserted.store(i + 1, std::memory_order_release);
            }
        });
        L2vpnVllPw record = inserted_record(0);
        std::minstd_rand random; // NOLINT(cert-msc32-c,cert-msc51-cpp): runs must be repeatable
        while (true) {
            const std::uint32_t end = inserted.load(std::memory_order_acquire);
            if (end == size)
                break;
            if (end == 0)
                continue;
            record.pwTunnelId = static_cast<std::uint32_t>(random() % (filled ? size : end));
            latencies.add([&] { check(L2VPN_DB_L2vpnVllPwRead(&record)); });
        }
        return latencies.get().quantile(0.9999) / 1000;
    };
}

Slices set_up_inserting(std::uint32_t size) {
    bind_to(processors()[0]);
    return {{"the same table", reading_while_inserting(size, insert_read_record, false)},
            {"another table", reading_while_inserting(size, insert_other_record, true)}};
}

} // namespace

void measure_latency(const Scale &scale) {
    const std::uint32_t size = scale.sizes[1];
    if (processors().size() < 2) {
        report(Figure{"p99 of a read beside a writer of three keys",
                      "",
                      size,
                      {},
                      information,
                      "",
                      "skipped (<= 15): there is one processor"});
        return;
    }
    {
        Worker worker([size] { return set_up_overwriting(size); });
        report({"p99 of a read beside a writer of three keys", "median without the writer", size,
                compare(worker["p99, overwriting"], worker["median, undisturbed"], scale.slices / 4,
                        worker["clock"]),
                at_most(15), "read"});
    }
    Worker worker([&] { return set_up_inserting(scale.insertions); });
    report({"p99.99 of a read, insertions into its table", "microseconds", scale.insertions,
            worker.run("the same table"), at_most(50)});
    report({"p99.99 of a read, insertions into another", "microseconds", scale.insertions,
            worker.run("another table"), information});
}

} // namespace l2vpn::bench
