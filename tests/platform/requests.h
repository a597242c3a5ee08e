// SPDX-License-Identifier: MIT
// Well-formed requests to the store.
#pragma once

#include <array>

#include "l2vpn_db/l2vpn_db.h"
#include "tests/support/facts.h"

namespace l2vpn::test {

inline L2vpnDbModuleIntf *module() {
    return L2VPN_DB_ModuleIntf();
}

/// A key request and its buffers.
struct KeyRequest {
    /// Marks the bytes as a key value, not a record.
    struct Value {};

    std::array<std::uint32_t, 4> id{};
    Bytes value;
    L2vpnDbKeyData request{};

    KeyRequest(const Key &key, Bytes key_value, Value /*unused*/)
        : id{key.word}, value(std::move(key_value)) {
        request = {id.data(), 16, 0, value.data(), key.length, 0};
    }
    KeyRequest(const Key &key, const Bytes &record)
        : KeyRequest(key, packed_key(key, record), Value{}) {}
    KeyRequest(const KeyRequest &) = delete;
    KeyRequest &operator=(const KeyRequest &) = delete;
};

inline L2vpnDbRecData record_request(Bytes &stored) {
    return {stored.data(), static_cast<std::uint32_t>(stored.size()), 0};
}

/// A record request for setters that do not read the record.
inline L2vpnDbRecData unread_record() {
    static std::uint8_t byte = 0;
    return {&byte, 0, 0};
}

} // namespace l2vpn::test
