// SPDX-License-Identifier: MIT
#include "load.h"

#include <cstdint>
#include <vector>

#include <fmt/format.h>

namespace l2vpn::demo {
namespace {

/// A record that this load has written, with what the store held under its key before.
struct Written {
    const L2vpnDalIntf *access;
    std::vector<std::byte> bytes;
    bool existed;
};

std::uint32_t length_of(const std::vector<std::byte> &record) {
    return static_cast<std::uint32_t>(record.size());
}

/// Puts the store back; returns how many records could not be.
std::size_t undo(const std::vector<Written> &written) {
    std::size_t failed = 0;
    for (const auto &[access, bytes, existed] : written) {
        const auto put_back = existed ? access->write : access->remove;
        failed += put_back(bytes.data(), length_of(bytes)) == L2VPN_DB_OK ? 0U : 1U;
    }
    return failed;
}

} // namespace

std::optional<std::string> store_records(const RecordFile &file) {
    std::vector<Written> written;
    for (const auto &[table, records] : file.tables) {
        for (const Record &record : records) {
            const std::uint32_t length = length_of(record.bytes);
            std::vector<std::byte> before = record.bytes;
            const bool existed = table.access->read(before.data(), length) == L2VPN_DB_OK;
            const std::uint32_t result = table.access->write(record.bytes.data(), length);
            if (result == L2VPN_DB_OK) {
                written.push_back({&*table.access, std::move(before), existed});
                continue;
            }
            const std::size_t failed = undo(written);
            return fmt::format(
                "{}:{}: table {}, primary key {}: the store refused the record with "
                "result {:#x}; {}",
                file.path, record.line, table.name, primary_key_text(table, record.bytes), result,
                failed == 0 ? "nothing of the file is stored"
                            : fmt::format("{} records could not be put back", failed));
        }
    }
    return std::nullopt;
}

} // namespace l2vpn::demo
