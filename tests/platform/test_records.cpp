// SPDX-License-Identifier: MIT
#include "tests/platform/test_records.h"

#include <algorithm>
#include <cstring>

namespace l2vpn::test {
namespace {

/// A small random number generator without set-up cost.
class Mixer {
public:
    explicit Mixer(std::uint64_t seed) : state_(seed) {}
    std::uint64_t operator()() {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t value = state_;
        value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
        value = (value ^ value >> 27) * 0x94D049BB133111EB;
        return value ^ value >> 31;
    }

private:
    std::uint64_t state_;
};

/// The number of values of a member of a secondary key.
std::uint64_t choices_of(TestRecords::Spread spread, std::uint64_t random) {
    constexpr std::uint64_t many = 4000;
    switch (spread) {
    case TestRecords::Spread::skewed:
        return random % 16 != 0 ? 1 : many;
    case TestRecords::Spread::distinct:
        return std::uint64_t{1} << 32;
    default:
        return random % 2 != 0 ? 4 : many;
    }
}

/// Maps different values to different contents if the member is wide enough.
void set_member(Bytes &stored, const Field &member, std::uint32_t value) {
    const std::uint32_t spread = value * 0x9E3779B1;
    for (std::uint32_t i = 0; i < member.width; ++i)
        stored[member.stored_offset + i] =
            i < 4 ? static_cast<std::uint8_t>(spread >> 8 * i) : std::uint8_t{0};
}

/// Whether the byte of a stored record is part of a key.
bool in_a_key(const Facts &table, std::size_t at) {
    return std::ranges::any_of(table.keys, [at](const Key &key) {
        return std::ranges::any_of(key.members, [at](const Field &member) {
            return at - member.stored_offset < member.width;
        });
    });
}

/// How many of `values` a member of the primary key can represent.
std::uint64_t choices_of(const Field &member, std::uint64_t values) {
    return member.width < 4 ? std::min(values, std::uint64_t{1} << 8 * member.width) : values;
}

std::uint64_t primary_keys(const Facts &table, std::uint64_t values) {
    std::uint64_t product = 1;
    for (const Field &member : table.keys[0].members)
        product = std::min(product * choices_of(member, values), std::uint64_t{1} << 32);
    return product;
}

} // namespace

bool TestRecords::fits(const Facts &table, std::uint32_t records) {
    std::size_t at = 0;
    while (at < table.stored_size && in_a_key(table, at))
        ++at;
    return at < table.stored_size && primary_keys(table, records) >= records;
}

TestRecords::TestRecords(const Facts &table, std::uint32_t records, Spread spread)
    : table_(table), spread_(spread) {
    while (in_a_key(table, version_at_))
        ++version_at_;
    const Key &key = table.keys[0];
    std::uint64_t values = 1;
    while (primary_keys(table, values) < records)
        ++values;
    for (std::uint32_t number = 0; number < records; ++number) {
        Bytes stored(table.stored_size);
        std::uint64_t rest = number;
        for (const Field &member : key.members) {
            const std::uint64_t choices = choices_of(member, values);
            set_member(stored, member, static_cast<std::uint32_t>(rest % choices));
            rest /= choices;
        }
        primary_.push_back(key_value(key, stored));
        numbers_[primary_.back()] = number;
    }
}

Bytes TestRecords::make(std::uint32_t number, std::uint32_t version) const {
    Bytes stored(table_.stored_size);
    Mixer contents(std::uint64_t{number} << 8 | version);
    for (std::size_t at = 0; at < stored.size(); at += 8) {
        const std::uint64_t bytes = contents();
        std::memcpy(stored.data() + at, &bytes, std::min<std::size_t>(8, stored.size() - at));
    }
    stored.at(version_at_) = static_cast<std::uint8_t>(version);
    Mixer values(~(std::uint64_t{number} << 8 | version / 2));
    for (const Key &key : table_.keys)
        for (const Field &member : key.members) {
            const std::uint64_t random = values();
            const std::uint64_t choices = choices_of(spread_, random);
            set_member(stored, member, static_cast<std::uint32_t>((random >> 32) % choices));
        }
    std::size_t at = 0;
    for (const Field &member : table_.keys[0].members) {
        std::copy_n(primary_[number].begin() + static_cast<std::ptrdiff_t>(at), member.width,
                    stored.begin() + member.stored_offset);
        at += member.width;
    }
    return stored;
}

std::optional<std::uint32_t> TestRecords::number(const Bytes &stored) const {
    const auto found = numbers_.find(key_value(table_.keys[0], stored));
    return found == numbers_.end() ? std::nullopt : std::optional(found->second);
}

bool TestRecords::is_whole(std::uint32_t number, const Bytes &stored) const {
    const std::uint32_t version = stored[version_at_];
    return version < versions && make(number, version) == stored;
}

Bytes TestRecords::key_value(const Key &key, const Bytes &stored) {
    Bytes value(key.length);
    auto at = value.begin();
    for (const Field &member : key.members)
        at = std::copy_n(stored.begin() + member.stored_offset, member.width, at);
    return value;
}

} // namespace l2vpn::test
