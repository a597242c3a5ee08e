// SPDX-License-Identifier: MIT
// Cost of counting and iterating in larger tables.
#include <map>

#include "bench/benchmarks.h"
#include "bench/reference_calls.h"
#include "bench/sample_records.h"
#include "bench/slice.h"

namespace l2vpn::bench {

namespace {

/// Counts the records with the key of random pseudowires.
Slice counting(std::uint32_t size, std::uint32_t (*count)(const L2vpnVplsPw *, std::uint32_t *)) {
    return repeated(
        [numbers = random_order(size), count, record = pseudowire(0)](std::size_t n) mutable {
            const std::uint32_t i = numbers[n % order_length];
            record.instanceId = i / 10;
            record.srcPid = i % 3;
            std::uint32_t found = 0;
            check(count(&record, &found));
        });
}

/// Delivers records of the whole table, one per operation, again and again.
Slice iterating() {
    return repeated(
        [iter = static_cast<L2vpnDbIter *>(nullptr), record = L2vpnVplsPw{}](std::size_t) mutable {
            if (iter != nullptr && L2VPN_DB_L2vpnVplsPwGetNext(iter, &record) == L2VPN_DB_OK)
                return;
            if (iter != nullptr)
                check(L2VPN_DB_L2vpnVplsPwReleaseIter(iter));
            iter = L2VPN_DB_L2vpnVplsPwCreateIter(L2VPN_VPLS_PW_KEY_primary_key, nullptr);
            check(L2VPN_DB_L2vpnVplsPwGetNext(iter, &record));
        });
}

Slices set_up(std::uint32_t size) {
    fill_table(size);
    return {{"count 10", counting(size, L2VPN_DB_L2vpnVplsPwCountByInstanceKey)},
            {"count third", counting(size, L2VPN_DB_L2vpnVplsPwCountBySmoothHashKey)},
            {"iterate", iterating()}};
}

} // namespace

void measure_growth(const Scale &scale) {
    const struct {
        const char *subject;
        const char *slice;
        double goal;
        const char *operation;
    } cases[] = {
        {"count by a key with 10 records", "count 10", 12, "count by key"},
        {"count by a key with a third of the table", "count third", 12, "count by key"},
        {"iterate, per record", "iterate", 1.3, "get next"},
    };
    std::map<std::uint32_t, Worker> workers;
    for (const std::uint32_t size : scale.sizes)
        workers.try_emplace(size, [size] { return set_up(size); });
    Worker &small = workers.begin()->second;
    for (const auto &item : cases)
        for (auto large = std::next(workers.begin()); large != workers.end(); ++large)
            report(
                {item.subject, "with 1,000 in the table", large->first,
                 compare(large->second[item.slice], small[item.slice], scale.slices, empty_slice()),
                 at_most(item.goal), item.operation});
}

} // namespace l2vpn::bench
