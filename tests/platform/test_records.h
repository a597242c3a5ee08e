// SPDX-License-Identifier: MIT
// Stored records of one table, identified by number and version, so that a torn read is detected.
// Made in the stored layout, which is faster than packing.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "tests/support/facts.h"

namespace l2vpn::test {

struct HashOfBytes {
    std::size_t operator()(const Bytes &bytes) const {
        return std::hash<std::string_view>{}(
            {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    }
};
template <class Value>
using ByBytes = std::unordered_map<Bytes, Value, HashOfBytes>;

class TestRecords {
public:
    static constexpr std::uint32_t versions = 8;

    /// The distribution of the secondary keys' values: short and long duplicate chains, mostly one
    /// long chain, or hardly any duplicates.
    enum class Spread { even, skewed, distinct };

    /// Whether the primary key has enough values, and the record a byte that is in no key.
    static bool fits(const Facts &table, std::uint32_t records);

    TestRecords(const Facts &table, std::uint32_t records, Spread spread);

    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(primary_.size()); }
    [[nodiscard]] const Facts &table() const { return table_; }
    [[nodiscard]] const Bytes &primary(std::uint32_t number) const { return primary_[number]; }

    /// The stored record. Versions 2n and 2n + 1 differ outside all keys only.
    [[nodiscard]] Bytes make(std::uint32_t number, std::uint32_t version) const;

    /// The number of a stored record, by its primary key.
    [[nodiscard]] std::optional<std::uint32_t> number(const Bytes &stored) const;

    /// Whether `stored` is exactly one of the record's versions.
    [[nodiscard]] bool is_whole(std::uint32_t number, const Bytes &stored) const;

    /// The key's value in a stored record.
    static Bytes key_value(const Key &key, const Bytes &stored);

private:
    const Facts &table_;
    const Spread spread_;
    std::vector<Bytes> primary_;
    ByBytes<std::uint32_t> numbers_;
    std::size_t version_at_ = 0; ///< a byte outside all keys
};

} // namespace l2vpn::test
