// SPDX-License-Identifier: MIT
// The library's typed calls for C++: one template for what all tables have in common, results as
// exceptions, iterators that are always released.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "l2vpn_db/l2vpn_extnhp.h"
#include "l2vpn_db/l2vpn_vpls_ac.h"
#include "l2vpn_db/l2vpn_vpls_ac_share.h"
#include "l2vpn_db/l2vpn_vpls_ac_sub.h"
#include "l2vpn_db/l2vpn_vpls_inst.h"
#include "l2vpn_db/l2vpn_vpls_inst_macdraw.h"
#include "l2vpn_db/l2vpn_vpls_pw.h"
#include "l2vpn_db/l2vpn_vpls_pw_macdraw.h"
#include "l2vpn_db/l2vpn_vpls_pwred_pg.h"
#include "l2vpn_db/l2vpn_vpls_vsimac.h"
#include "l2vpn_db/memory_store.h"

namespace l2vpn::demo {

/// The functions of the table with records of this type.
template <class Record>
struct Table;

#define DEMO_TABLE(Record)                                                                         \
    template <>                                                                                    \
    struct Table<Record> {                                                                         \
        static constexpr auto schema = L2VPN_AST_##Record##Module;                                 \
        static constexpr auto format = L2VPN_AST_##Record##Format;                                 \
        static constexpr auto read = L2VPN_DB_##Record##Read;                                      \
        static constexpr auto write = L2VPN_DB_##Record##Write;                                    \
        static constexpr auto update_field = L2VPN_DB_##Record##UpdateField;                       \
        static constexpr auto remove = L2VPN_DB_##Record##Delete;                                  \
        static constexpr auto create_iter = L2VPN_DB_##Record##CreateIter;                         \
        static constexpr auto get_next = L2VPN_DB_##Record##GetNext;                               \
        static constexpr auto release_iter = L2VPN_DB_##Record##ReleaseIter;                       \
    };
DEMO_TABLE(L2vpnExtnhp)
DEMO_TABLE(L2vpnVplsAc)
DEMO_TABLE(L2vpnVplsAcShare)
DEMO_TABLE(L2vpnVplsAcSub)
DEMO_TABLE(L2vpnVplsInst)
DEMO_TABLE(L2vpnVplsInstMacdraw)
DEMO_TABLE(L2vpnVplsPw)
DEMO_TABLE(L2vpnVplsPwMacdraw)
DEMO_TABLE(L2vpnVplsPwredPg)
DEMO_TABLE(L2vpnVplsVsimac)
#undef DEMO_TABLE

template <class Record>
void check(std::uint32_t result, const char *operation) {
    if (result != L2VPN_DB_OK) {
        throw std::runtime_error(fmt::format("{}: {} failed with result {:#x}",
                                             Table<Record>::schema()->name, operation, result));
    }
}

/// The stored record with this primary key.
template <class Record>
Record read(Record key) {
    check<Record>(Table<Record>::read(&key), "read");
    return key;
}

template <class Record>
void write(const Record &record) {
    check<Record>(Table<Record>::write(&record), "write");
}

/// Changes one field of the stored record with this primary key.
template <class Record>
void update_field(const Record &record, std::uint32_t field_id) {
    check<Record>(Table<Record>::update_field(&record, field_id), "update");
}

template <class Record>
void remove(const Record &record) {
    check<Record>(Table<Record>::remove(&record), "delete");
}

/// All records that an iterator delivers, sorted, as the store promises no order.
/// @param handle  from a Create...Iter function; released here
/// @param order  gives what the records are sorted by
template <class Record, class Order>
std::vector<Record> records_of(L2vpnDbIter *handle, Order order) {
    using Functions = Table<Record>;
    const std::unique_ptr<L2vpnDbIter, decltype(Functions::release_iter)> iter(
        handle, Functions::release_iter);
    if (iter == nullptr) {
        throw std::runtime_error(fmt::format("{}: no iterator", Functions::schema()->name));
    }
    std::vector<Record> records;
    Record record{};
    std::uint32_t result = L2VPN_DB_OK;
    while ((result = Functions::get_next(iter.get(), &record)) == L2VPN_DB_OK) {
        records.push_back(record);
    }
    if (result != L2VPN_STORE_END) {
        check<Record>(result, "next");
    }
    std::ranges::sort(records, {}, order);
    return records;
}

/// The number of records that a Count...Key function finds.
template <class Record>
std::uint32_t count(std::uint32_t (*count_by_key)(const Record *, std::uint32_t *),
                    const Record &key) {
    std::uint32_t result = 0;
    check<Record>(count_by_key(&key, &result), "count");
    return result;
}

} // namespace l2vpn::demo
