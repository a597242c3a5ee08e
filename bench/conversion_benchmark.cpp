// SPDX-License-Identifier: MIT
// Conversion between caller record and stored record, against the same copies by the C library's
// memcpy and against serialization libraries.
#include <cstring>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

#include "bench/benchmarks.h"
#include "bench/libc_conversion.h"
#include "bench/packed_record.h"
#include "bench/reference_calls.h"
#include "bench/sample_records.h"
#include "bench/serializers.h"

namespace l2vpn::bench {

namespace {

auto *volatile to_packed = L2VPN_DB_L2vpnVplsPwSetAllFields;
auto *volatile to_caller = L2VPN_DB_L2vpnVplsPwGetAllFields;

/// Encodes and decodes records. Throws if a record does not survive.
Slice round_trip(void (*encode_and_decode)(const L2vpnVplsPw &, L2vpnVplsPw &)) {
    for (std::uint32_t i = 0; i < few; ++i) {
        const L2vpnVplsPw record = pseudowire(i);
        L2vpnVplsPw result{};
        encode_and_decode(record, result);
        if (std::memcmp(packed(record).bytes, packed(result).bytes, stored_length) != 0)
            throw std::runtime_error("a decoded record differs from its original");
    }
    return repeated([records = few_records(), result = L2vpnVplsPw{}, encode_and_decode](
                        std::size_t n) mutable { encode_and_decode(records[n % few], result); });
}

void convert_both_ways(const L2vpnVplsPw &record, L2vpnVplsPw &result) {
    char stored[stored_length];
    to_packed(&record, stored);
    to_caller(stored, &result);
}

} // namespace

void measure_conversion(const Scale &scale) {
    const Slice store =
        repeated([records = few_records(), stored = FewBytes{}](std::size_t n) mutable {
            to_packed(&records[n % few], stored[n % few].data());
        });
    const Slice load =
        repeated([records = few_records(), stored = FewBytes{}](std::size_t n) mutable {
            to_caller(stored[n % few].data(), &records[n % few]);
        });
    const Slice checked = memcpy_s_slice();
    const char *const reference = "the same copies by memcpy";
    report({"conversion to the stored record", reference, 0,
            compare(store, libc_to_packed_slice(), scale.slices, empty_slice()), at_most(1.05),
            "set all fields"});
    report({"conversion to the caller's record", reference, 0,
            compare(load, libc_to_caller_slice(), scale.slices, empty_slice()), at_most(1.05),
            "get all fields"});
    const Comparison share = compare(checked, store, scale.slices, empty_slice());
    report({"calls of memcpy_s in a conversion", "conversion to the stored record", 0, share});

    const Slice both = round_trip(convert_both_ways);
    const struct {
        const char *name;
        void (*encode_and_decode)(const L2vpnVplsPw &, L2vpnVplsPw &);
        double goal;
    } others[] = {{"FlatBuffers", flatbuffers_round_trip, 5},
                  {"Cap'n Proto", capnproto_round_trip, 6},
                  {"Protocol Buffers", protobuf_round_trip, 9}};
    for (const auto &[name, encode_and_decode, goal] : others)
        report({std::string("encode + decode: ") + name, "encode + decode: conversion", 0,
                compare(round_trip(encode_and_decode), both, scale.slices, empty_slice()),
                at_least(goal), "",
                fmt::format("{:.0f} % of a conversion is memcpy_s", 100 * share.ratio.median)});
}

} // namespace l2vpn::bench
