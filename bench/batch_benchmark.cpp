// SPDX-License-Identifier: MIT
// The store's batch calls, against as many single calls.
#include <array>
#include <memory>
#include <string>

#include "bench/benchmarks.h"
#include "bench/sample_records.h"
#include "bench/slice.h"
#include "l2vpn_db/memory_store.h"
#include "l2vpn_db/platform.h"

namespace l2vpn::bench {

namespace {

constexpr std::uint32_t batch = 100;

L2vpnDbTblIntf &table = g_l2vpnL2vpnVplsPwIntf;

/// The requests of a batch and the buffers of its records.
struct Batch {
    explicit Batch(std::uint32_t size) {
        for (const std::uint32_t i : random_order(size))
            keys.push_back(primary_key(i));
        for (std::uint32_t i = 0; i < batch; ++i) {
            requests[i] = {key_id, sizeof key_id, 0, nullptr, sizeof(PrimaryKey), 0};
            places[i] = {records[i].data(), stored_length, 0};
        }
    }

    alignas(64) std::array<std::array<char, stored_length>, batch> records{};
    std::array<L2vpnDbKeyData, batch> requests{};
    std::array<L2vpnDbRecData, batch> places{};
    std::vector<PrimaryKey> keys; ///< in random order
    std::uint32_t key_id[4] = {0x0001'0009};
};

/// Nanoseconds per record of operation(n), which handles a batch.
template <class Operation>
Slice per_record(Operation operation) {
    return [slice = repeated(operation)] { return slice() / batch; };
}

/// Reads the n-th batch of random records: read(). Setting the keys is part of the operation.
template <class Read>
Slice reading(const std::shared_ptr<Batch> &all, Read read) {
    return per_record([all, read](std::size_t n) {
        for (std::uint32_t i = 0; i < batch; ++i)
            all->requests[i].key = all->keys[(n * batch + i) % order_length].bytes;
        read(*all);
    });
}

/// Delivers the next batch of the whole table, again and again: next(iterator) until it returns
/// false.
template <class Next>
Slice iterating(Next next) {
    return per_record([next, iter = static_cast<L2vpnDbIter *>(nullptr)](std::size_t) mutable {
        while (iter == nullptr || !next(iter)) {
            if (iter != nullptr)
                check(DAL_VELD_ReleaseIterator(&g_l2vpnDbModuleIntf, &table, iter));
            iter = DAL_VELD_CreateIterator(&g_l2vpnDbModuleIntf, &table);
        }
    });
}

Slices set_up(std::uint32_t size) {
    fill_table(size);
    const auto all = std::make_shared<Batch>(size);
    const auto next_many = [all](L2vpnDbIter *iter) {
        std::uint32_t delivered = 0;
        return L2VPN_STORE_NextMany(&g_l2vpnDbModuleIntf, &table, iter, all->places.data(), batch,
                                    &delivered) == L2VPN_DB_OK;
    };
    const auto next_single = [all](L2vpnDbIter *iter) {
        for (L2vpnDbRecData &place : all->places)
            if (DAL_VELD_GetNextEntry(&g_l2vpnDbModuleIntf, &table, iter, &place) != L2VPN_DB_OK)
                return false;
        return true;
    };
    return {{"ReadMany", reading(all,
                                 [](Batch &b) {
                                     check(L2VPN_STORE_ReadMany(&g_l2vpnDbModuleIntf, &table,
                                                                b.requests.data(), b.places.data(),
                                                                batch, nullptr));
                                 })},
            {"Read", reading(all,
                             [](Batch &b) {
                                 for (std::uint32_t i = 0; i < batch; ++i)
                                     check(DAL_VELD_Read(&g_l2vpnDbModuleIntf, &table,
                                                         &b.requests[i], &b.places[i]));
                             })},
            {"NextMany", iterating(next_many)},
            {"GetNextEntry", iterating(next_single)}};
}

} // namespace

// The sizes are multiples of a batch, so that an iterator's last batch is as large as the others.
void measure_batches(const Scale &scale) {
    for (auto size = std::next(scale.sizes.begin()); size != scale.sizes.end(); ++size) {
        Worker worker([size] { return set_up(*size); });
        report({"ReadMany of 100, per record", "DAL_VELD_Read", *size,
                compare(worker["ReadMany"], worker["Read"], scale.slices), at_most(0.5)});
        report({"NextMany of 100, per record", "DAL_VELD_GetNextEntry", *size,
                compare(worker["NextMany"], worker["GetNextEntry"], scale.slices), at_most(0.6)});
    }
}

} // namespace l2vpn::bench
