// SPDX-License-Identifier: MIT
// What counting and iterating cost in larger tables.
#include "bench/records.h"
#include "bench/sections.h"
#include "bench/timed.h"

namespace l2vpn::bench {

namespace {

/// Counts the records with the key of random pseudowires.
Round count_round(std::uint32_t size,
                  std::uint32_t (*count)(const L2vpnVplsPw *, std::uint32_t *)) {
    return repeated(
        4000, [numbers = random_order(size), count, record = pseudowire(0)](std::size_t n) mutable {
            const std::uint32_t i = numbers[n % order_length];
            record.instanceId = i / 10;
            record.srcPid = i % 3;
            std::uint32_t found = 0;
            check(count(&record, &found));
        });
}

/// Delivers records of the whole table, one per operation, again and again.
Round iterate_round() {
    return repeated(20'000, [iter = static_cast<L2vpnDbIter *>(nullptr),
                             record = L2vpnVplsPw{}](std::size_t) mutable {
        if (iter != nullptr && L2VPN_DB_L2vpnVplsPwGetNext(iter, &record) == L2VPN_DB_OK)
            return;
        if (iter != nullptr)
            check(L2VPN_DB_L2vpnVplsPwReleaseIter(iter));
        iter = L2VPN_DB_L2vpnVplsPwCreateIter(L2VPN_VPLS_PW_KEY_primary_key, nullptr);
        check(L2VPN_DB_L2vpnVplsPwGetNext(iter, &record));
    });
}

} // namespace

Rounds growth_rounds(std::uint32_t size) {
    return {{"count 10", count_round(size, L2VPN_DB_L2vpnVplsPwCountByInstanceKey)},
            {"count third", count_round(size, L2VPN_DB_L2vpnVplsPwCountBySmoothHashKey)},
            {"iterate", iterate_round()}};
}

void measure_growth(const Scale &scale, Workers &workers, Report &report) {
    const struct {
        const char *what;
        const char *round;
        double goal;
    } cases[] = {
        {"count by a key with 10 records / with 1,000 in the table", "count 10", 12},
        {"count by a key with a third of the table / with 1,000", "count third", 12},
        {"iterate, per record / with 1,000 in the table", "iterate", 1.3},
    };
    for (const auto &one : cases) {
        std::vector<Variant> variants;
        for (const std::uint32_t size : scale.sizes)
            variants.push_back({&workers.at(size), one.round});
        const std::vector<double> times = medians(variants, scale.rounds);
        for (std::size_t s = 1; s < times.size(); ++s)
            report.add({one.what,
                        scale.sizes[s],
                        times[s] / times[0],
                        at_most(one.goal),
                        {times[s], times[0]}});
    }
}

} // namespace l2vpn::bench
