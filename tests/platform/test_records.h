// SPDX-License-Identifier: MIT
// Stored records of one table that are known by a number and a version, so that a reader can tell
// a whole record from a half-written one. Made in the stored layout, which is quicker than packing.
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

    /// How the values of the secondary keys are spread: over small and large groups, mostly into
    /// one large group, or so that hardly two records share a value.
    enum class Spread { even, skewed, apart };

    /// Whether the table has so many primary keys, and a byte that is in no key.
    static bool fits(const Facts &table, std::uint32_t records);

    TestRecords(const Facts &table, std::uint32_t records, Spread spread);

    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(primary_.size()); }
    [[nodiscard]] const Facts &table() const { return table_; }
    [[nodiscard]] const Bytes &primary(std::uint32_t number) const { return primary_[number]; }

    /// The stored record. Versions 2n and 2n + 1 differ, but not in any key.
    [[nodiscard]] Bytes make(std::uint32_t number, std::uint32_t version) const;

    /// The number of the record with the stored record's primary key.
    [[nodiscard]] std::optional<std::uint32_t> number(const Bytes &stored) const;

    /// Whether it is one of the record's versions, whole.
    [[nodiscard]] bool is_whole(std::uint32_t number, const Bytes &stored) const;

    /// The value of a key in a stored record.
    static Bytes key_value(const Key &key, const Bytes &stored);

private:
    const Facts &table_;
    const Spread spread_;
    std::vector<Bytes> primary_;
    ByBytes<std::uint32_t> numbers_;
    std::size_t version_at_ = 0; ///< a byte that is in no key
};

} // namespace l2vpn::test
