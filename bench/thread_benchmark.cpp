// SPDX-License-Identifier: MIT
// Two threads on one table, 95 % reads and 5 % overwrites: wall time per operation, against that of
// one thread.
#include <algorithm>
#include <array>
#include <barrier>
#include <memory>
#include <thread>

#include "bench/benchmarks.h"
#include "bench/processors.h"
#include "bench/sample_records.h"
#include "bench/slice.h"
#include <fmt/format.h>

namespace l2vpn::bench {

namespace {

constexpr std::size_t operations = 1000; ///< per thread and slice
constexpr std::size_t write_every = 20;
constexpr double min_scaling = 1.8; ///< of pure computation, for a slice to count

/// Runs work(thread, n) on several threads at once, each bound to its own processor.
template <class Work>
Slice on_threads(std::size_t threads, Work work) {
    return [threads, work, first = std::size_t{0}]() mutable {
        std::barrier start(static_cast<std::ptrdiff_t>(threads));
        std::vector<double> begun(threads);
        std::vector<double> ended(threads);
        const auto run = [&](std::size_t thread) {
            bind_to(processors()[thread]);
            start.arrive_and_wait();
            begun[thread] = wall_time();
            for (std::size_t n = first; n < first + operations; ++n)
                work(thread, n);
            ended[thread] = wall_time();
        };
        {
            std::vector<std::jthread> others;
            for (std::size_t thread = 1; thread < threads; ++thread)
                others.emplace_back(run, thread);
            run(0);
        }
        first += operations;
        const double wall = *std::max_element(ended.begin(), ended.end()) -
                            *std::min_element(begun.begin(), begun.end());
        return wall / static_cast<double>(operations * threads);
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

/// Runs in a separate process: once a thread has been started, counting events costs more.
Slices set_up(std::uint32_t size) {
    fill_table(size);
    const auto numbers = std::make_shared<const std::vector<std::uint32_t>>(random_order(size));
    const auto mix = [numbers](std::size_t thread, std::size_t n) {
        // The threads use the same order from different positions.
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

// Other programs preempt the threads now and then. A slice counts only if, before and after it, two
// threads compute almost twice as much as one.
void measure_mix(std::uint32_t size, std::size_t slices) {
    const char *const subject = "95 % read, 5 % overwrite, two threads";
    Figure figure{subject, "one thread", size, {}};
    if (processors().size() < 2) {
        figure.remark = "skipped (<= 0.8): there is one processor";
        report(figure);
        return;
    }
    Worker worker([size] { return set_up(size); });
    std::vector<double> scaling;
    std::vector<double> one;
    std::vector<double> two;
    std::vector<double> ratios;
    const auto calibrate = [&] {
        scaling.push_back(worker.run("computed, 1 thread") / worker.run("computed, 2 threads"));
        return scaling.back() >= min_scaling;
    };
    for (std::size_t n = 0; n < 2 * slices; ++n) {
        const bool before = calibrate();
        const std::array times{worker.run("mixed, 1 thread"), worker.run("mixed, 2 threads")};
        if (!calibrate() || !before)
            continue;
        one.push_back(times[0]);
        two.push_back(times[1]);
        ratios.push_back(times[1] / times[0]);
    }
    const double computed = quartiles(scaling).median;
    if (ratios.size() < slices / 4) {
        figure.remark = fmt::format(
            "skipped (<= 0.8): two threads compute {:.2f} times as much as one", computed);
    } else {
        figure.comparison = {quartiles(ratios), quartiles(two).median, quartiles(one).median};
        figure.goal = at_most(0.8);
        figure.remark =
            fmt::format("{} of {} slices; two threads compute {:.2f} times as much as one",
                        ratios.size(), 2 * slices, computed);
    }
    report(figure);
}

} // namespace

void measure_threads(const Scale &scale) {
    for (const std::uint32_t size : {scale.sizes[0], scale.sizes[1]})
        measure_mix(size, scale.slices);
}

} // namespace l2vpn::bench
