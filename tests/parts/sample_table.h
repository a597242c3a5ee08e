// SPDX-License-Identifier: MIT
// Made-up tables as the templates take them. SampleTable exercises every derivation: padding, keys
// of contiguous and scattered members, service fields of every kind.
#pragma once

#include "library/table_descriptor.h"

namespace l2vpn {

struct SampleRecord {
    std::uint32_t vrId;
    std::uint8_t flag;
    std::uint16_t vlan;
    std::uint8_t macAddr[6];
    std::uint8_t svcStatus[2];
    std::uint8_t svcErrcode[2];
    std::uint8_t svcCtx[2][5];
    std::uint32_t batchVersion;
    std::uint32_t peerIp;
    std::uint8_t token[3];
};

struct SampleControlBlock {
    std::uint32_t keyId[4];
    std::uint8_t key[16];
    L2vpnDbGlbCb cb;
};

inline SampleControlBlock sample_block{};

struct SampleTable {
    using Record = SampleRecord;
    using ControlBlock = SampleControlBlock;
    static constexpr char name[] = "l2vpn_sample";
    static constexpr Field fields[] = {
        {"vrId", 0, 0, 4, Kind::integer, true},
        {"flag", 1, 4, 1, Kind::integer, false},
        {"vlan", 2, 6, 2, Kind::integer, true},
        {"macAddr", 3, 8, 6, Kind::mac, true},
        {"svcStatus", 4, 14, 2, Kind::pair, false},
        {"svcErrcode", 6, 16, 2, Kind::pair, false},
        {"svcCtx", 8, 18, 10, Kind::context, false},
        {"batchVersion", 10, 28, 4, Kind::integer, true},
        {"peerIp", 11, 32, 4, Kind::integer, false},
        {"token", 12, 36, 3, Kind::bytes, false},
    };
    static constexpr std::uint16_t key_members[] = {0, 2, 3, 7, 8, 0};
    static constexpr Key keys[] = {{"primary_key", 0, 3}, {"batch_key", 3, 3}};
    static constexpr bool trailing_separator = false;
    static constexpr bool svc_fields_split = false;
    static constexpr bool no_null_tests = true;
    static constexpr std::size_t row = 7;
    static constexpr L2vpnDbSetFieldsFn set_fields_function = nullptr;
    static std::uint32_t set_batch_version(L2vpnDbRecObj * /*object*/, std::uint32_t value) {
        return value;
    }
    static constexpr ControlBlock &control_block() { return sample_block; }
    static constexpr TableDescriptor<SampleTable> &descriptor();
};

inline TableDescriptor<SampleTable> sample_descriptor{};
constexpr TableDescriptor<SampleTable> &SampleTable::descriptor() {
    return sample_descriptor;
}

/// The same table with separate conversions of the service fields.
struct SplitTable : SampleTable {
    static constexpr bool svc_fields_split = true;
};

/// A table whose first and last fields are copied by memcpy_s.
struct CopiedEndsTable {
    static constexpr Field fields[] = {
        {"svcCtx", 0, 0, 6, Kind::context, false},
        {"state", 2, 6, 1, Kind::integer, true},
        {"token", 3, 7, 3, Kind::bytes, false},
    };
};

/// A table without batchVersion, of one field.
struct OneFieldTable {
    struct Record {
        std::uint8_t state;
    };
    static constexpr char name[] = "l2vpn_one_field";
    static constexpr Field fields[] = {{"state", 0, 0, 1, Kind::integer, true}};
    static constexpr std::uint16_t key_members[] = {0};
    static constexpr Key keys[] = {{"primary_key", 0, 1}};
    static constexpr bool svc_fields_split = false;
};

} // namespace l2vpn
