// SPDX-License-Identifier: MIT
// Two threads on one table: 95 reads, then 5 records written over. Wall time per operation, against
// that of one thread.
#include <algorithm>
#include <barrier>
#include <chrono>
#include <memory>
#include <thread>

#include <fmt/format.h>

#include "bench/records.h"
#include "bench/sections.h"
#include "l2vpn_db/platform.h"

namespace l2vpn::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t operations = 20'000; ///< of each thread
constexpr std::size_t write_every = 20;

/// work(thread, n) on each of some threads at once.
template <class Work>
Round on_threads(std::size_t threads, Work work) {
    return [threads, work, first = std::size_t{0}]() mutable {
        std::barrier start(static_cast<std::ptrdiff_t>(threads));
        std::vector<Clock::time_point> begun(threads);
        std::vector<Clock::time_point> ended(threads);
        const auto run = [&](std::size_t thread) {
            start.arrive_and_wait();
            begun[thread] = Clock::now();
            for (std::size_t n = first; n < first + operations; ++n)
                work(thread, n);
            ended[thread] = Clock::now();
        };
        {
            std::vector<std::jthread> others;
            for (std::size_t thread = 1; thread < threads; ++thread)
                others.emplace_back(run, thread);
            run(0);
        }
        first += operations;
        const std::chrono::duration<double, std::nano> wall =
            *std::max_element(ended.begin(), ended.end()) -
            *std::min_element(begun.begin(), begun.end());
        return wall.count() / static_cast<double>(operations * threads);
    };
}

void compute(std::size_t /*thread*/, std::size_t n) {
    std::uint64_t value = n + 1;
    for (int i = 0; i < 100; ++i) {
        value ^= value << 13;
        value ^= value >> 7;
        value ^= value << 17;
    }
    __asm__ volatile("" ::"r"(value));
}

/// In a process of its own: where a thread has ever been started, counting is dearer.
Rounds set_up(std::uint32_t size) {
    fill_table(size);
    const auto numbers = std::make_shared<const std::vector<std::uint32_t>>(random_order(size));
    const auto mix = [numbers](std::size_t thread, std::size_t n) {
        // The threads go through the same order from different places.
        const std::uint32_t i = (*numbers)[(n + thread * order_length / 2) % order_length];
        if (n % write_every != 0) {
            L2vpnVplsPw record;
            record.vrIndex = 1;
            record.pwTunnelId = i;
            record.pwTunnelType = 3;
            check(L2VPN_DB_L2vpnVplsPwRead(&record));
        } else {
            L2vpnVplsPw record = pseudowire(i);
            record.timeStampSvc = n;
            check(L2VPN_DB_L2vpnVplsPwWrite(&record));
        }
    };
    return {{"mixed, 1 thread", on_threads(1, mix)},
            {"mixed, 2 threads", on_threads(2, mix)},
            {"computed, 1 thread", on_threads(1, compute)},
            {"computed, 2 threads", on_threads(2, compute)}};
}

} // namespace

// Other programs take processors away for moments at a time. Rounds in which two threads did not
// compute almost twice as much as one, twice, say nothing about the store.
void measure_threads(const Scale &scale, Report &report) {
    const std::uint32_t size = scale.sizes[1];
    Worker worker([size] { return set_up(size); });
    const auto results = interleave({{&worker, "computed, 1 thread"},
                                     {&worker, "computed, 2 threads"},
                                     {&worker, "mixed, 1 thread"},
                                     {&worker, "mixed, 2 threads"},
                                     {&worker, "computed, 2 threads"}},
                                    scale.rounds);
    std::vector<std::vector<double>> kept(results.size());
    std::vector<double> scaling;
    for (std::size_t n = 0; n < results[0].size(); ++n) {
        scaling.push_back(std::max(results[1][n], results[4][n]) / results[0][n]);
        for (std::size_t v = 0; v < results.size() && scaling.back() <= 0.6; ++v)
            kept[v].push_back(results[v][n]);
    }
    const std::size_t rounds = kept[0].size();
    report.add({"pure computation, two threads / one",
                size,
                median(scaling),
                information,
                {median(results[1]), median(results[0])},
                fmt::format("<= 0.6 in {} of {} rounds", rounds, scaling.size())});
    const bool enough = rounds >= scaling.size() / 10 + 1;
    const auto &judged = enough ? kept : results;
    const double two = median(judged[3]);
    const double one = median(judged[2]);
    report.add({"95 % read, 5 % overwrite, two threads / one",
                size,
                two / one,
                enough ? at_most(0.8) : information,
                {two, one},
                enough ? "in those rounds" : "not judged (<= 0.8): this machine does not scale"});
}

} // namespace l2vpn::bench
