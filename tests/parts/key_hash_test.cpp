// SPDX-License-Identifier: MIT
// The hash of key values, over random choices of its keys: any two values collide in n bits with a
// probability of 2^-n.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "platform/store/key_definition.h"

namespace l2vpn::platform {
namespace {

using Bytes = std::string;

/// A key of one member or several, and where they lie in a record.
struct Shape {
    std::vector<KeyMember> members;

    [[nodiscard]] std::uint16_t length() const {
        return static_cast<std::uint16_t>(
            std::accumulate(members.begin(), members.end(), 0,
                            [](int sum, const KeyMember &member) { return sum + member.width; }));
    }
};

/// A key whose hash has chosen keys.
class DefinedKey {
public:
    explicit DefinedKey(const Shape &shape)
        : layout_{shape.members, shape.length()}, table_{"l2vpn_sample",
                                                         96,
                                                         TableLayout::no_field,
                                                         {&layout_, 1}},
          rest_(max_segments(layout_)), key_(define_key(table_, 0, rest_.data())) {}
    DefinedKey(const DefinedKey &) = delete;
    DefinedKey &operator=(const DefinedKey &) = delete;

    /// Takes each key of the hash from a call of `next`.
    template <class Next>
    void choose(Next next) {
        key_.random = next();
        for (Word &random : key_.first.random)
            random = next();
        for (KeySegment &segment : rest_)
            for (Word &random : segment.random)
                random = next();
    }
    [[nodiscard]] Hash hash(const Bytes &value) const {
        return key_.probe(PackedKey{value.data()}).hash;
    }

private:
    KeyLayout layout_;
    TableLayout table_;
    std::vector<KeySegment> rest_;
    KeyDefinition key_;
};

/// One segment of each kind of length, two segments, and scattered members.
const std::vector<Shape> &shapes() {
    static const std::vector<Shape> all{
        {{{0, 1}}},         {{{4, 2}}},
        {{{4, 4}}},         {{{3, 6}}},
        {{{8, 8}}},         {{{0, 4}, {4, 5}}},
        {{{0, 4}, {4, 6}}}, {{{0, 4}, {4, 4}, {8, 4}}},
        {{{1, 15}}},        {{{0, 16}}},
        {{{0, 17}}},        {{{0, 4}, {4, 16}}},
        {{{5, 40}}},        {{{40, 4}, {0, 6}, {20, 2}, {30, 1}}},
        {{{4, 4}, {0, 4}}},
    };
    return all;
}

/// Pairs of different values that weak hash functions map to related hashes.
std::vector<std::array<Bytes, 2>> adversarial_pairs(std::size_t length) {
    std::vector<std::array<Bytes, 2>> pairs;
    const auto add = [&](const Bytes &one, const Bytes &other) {
        if (one != other)
            pairs.push_back({one, other});
    };
    const auto with = [](Bytes value, std::size_t at, int difference) {
        value[at] = static_cast<char>(value[at] + difference);
        return value;
    };
    const auto flipped = [](Bytes value, std::size_t bit) {
        value[bit / 8] = static_cast<char>(value[bit / 8] ^ 1 << bit % 8);
        return value;
    };
    const Bytes zeros(length, '\0');
    const Bytes ones(length, '\xFF');
    Bytes counted(length, '\0');
    std::iota(counted.begin(), counted.end(), '\1');
    for (const Bytes &base : {zeros, ones, counted}) {
        add(base, with(base, 0, 1));          // b and b + 1
        add(base, with(base, length - 1, 1)); // in the last, partial word
        add(base, flipped(base, 0));
        add(base, flipped(base, 8 * length - 1));
        add(base, flipped(base, 4 * length));
        for (std::size_t bit = 31; bit < 8 * length; bit += 32)
            add(base, flipped(base, bit));
    }
    add(zeros, ones);
    // The same difference in two words, and exchanged words.
    for (const std::size_t distance : {std::size_t{4}, std::size_t{8}, std::size_t{16}})
        if (length >= 2 * distance) {
            add(counted, with(with(counted, 0, 1), distance, 1));
            add(counted, with(with(counted, 0, 1), distance, -1));
            Bytes exchanged = counted;
            std::swap_ranges(exchanged.begin(),
                             exchanged.begin() + static_cast<std::ptrdiff_t>(distance),
                             exchanged.begin() + static_cast<std::ptrdiff_t>(distance));
            add(counted, exchanged);
        }
    Bytes reversed(counted.rbegin(), counted.rend());
    add(counted, reversed);
    return pairs;
}

TEST(KeyHash, CollidesAsOftenAsRandomBits) {
    std::mt19937_64 generator(1);
    constexpr std::uint32_t choices = 1 << 17;
    constexpr unsigned min_bits = 8;
    constexpr unsigned max_bits = 12;
    std::size_t checked = 0;
    for (const Shape &shape : shapes()) {
        const auto pairs = adversarial_pairs(shape.length());
        // By pair: how many hashes agree in at least so many upper, or lower, bits.
        using Rates = std::array<std::array<std::uint32_t, 33>, 2>;
        std::vector<Rates> agreeing(pairs.size());
        DefinedKey key(shape);
        for (std::uint32_t choice = 0; choice < choices; ++choice) {
            key.choose([&] { return Word{generator()}; });
            for (std::size_t i = 0; i < pairs.size(); ++i) {
                const Hash difference = key.hash(pairs[i][0]) ^ key.hash(pairs[i][1]);
                ++agreeing[i][0][static_cast<unsigned>(std::countl_zero(difference))];
                ++agreeing[i][1][static_cast<unsigned>(std::countr_zero(difference))];
            }
        }
        for (std::size_t i = 0; i < pairs.size(); ++i)
            for (auto &counts : agreeing[i])
                for (unsigned bits = min_bits; bits <= max_bits; ++bits) {
                    const std::uint32_t collisions =
                        std::accumulate(counts.begin() + bits, counts.end(), 0U);
                    const double expected = std::ldexp(choices, -static_cast<int>(bits));
                    EXPECT_NEAR(collisions, expected, 5 * std::sqrt(expected))
                        << bits << (&counts == &agreeing[i][0] ? " upper" : " lower")
                        << " bits, pair " << i << " of length " << shape.length();
                    ++checked;
                }
    }
    EXPECT_GE(checked, shapes().size() * 12 * 10);
}

// tests/platform/store_flooding_test.cpp makes all values collide like this.
TEST(KeyHash, WithZeroKeysValuesOfOneWordCollide) {
    for (const Shape &shape : shapes()) {
        DefinedKey key(shape);
        key.choose([] { return Word{0}; });
        for (std::uint32_t word = 0; word < 70'000; word += 7) {
            Bytes value(shape.length(), '\0');
            std::memcpy(value.data(), &word, std::min(value.size(), sizeof word));
            ASSERT_EQ(key.hash(value), 0U);
        }
    }
}

} // namespace
} // namespace l2vpn::platform
