// SPDX-License-Identifier: MIT
// Keys of made-up layouts: their segments, hashes and comparisons.
#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <set>
#include <tuple>
#include <vector>

#include "platform/store/key_definition.h"
#include "tests/parts/guarded_memory.h"

namespace l2vpn::platform {
namespace {

constexpr std::uint32_t stored_length = 60;

/// A key and the segments that it must have: offset in the packed key, in the record, bytes.
struct Sample {
    const char *name;
    std::vector<KeyMember> members;
    std::vector<std::tuple<int, int, int>> segments;

    [[nodiscard]] std::uint16_t length() const {
        std::uint16_t sum = 0;
        for (const KeyMember &member : members)
            sum = static_cast<std::uint16_t>(sum + member.width);
        return sum;
    }
};

const std::vector<Sample> &samples() {
    static const std::vector<Sample> all{
        {"one member", {{3, 4}}, {{0, 3, 4}}},
        {"a word", {{8, 8}}, {{0, 8, 8}}},
        {"one byte", {{59, 1}}, {{0, 59, 1}}},
        {"contiguous members", {{4, 4}, {8, 6}}, {{0, 4, 10}}},
        {"the record's order differs", {{8, 6}, {4, 4}}, {{0, 8, 6}, {6, 4, 4}}},
        {"16 contiguous bytes", {{1, 8}, {9, 8}}, {{0, 1, 16}}},
        {"16 contiguous bytes of odd widths", {{1, 6}, {7, 10}}, {{0, 1, 16}}},
        {"17 contiguous bytes", {{1, 8}, {9, 8}, {17, 1}}, {{0, 1, 16}, {16, 17, 1}}},
        {"a long member", {{2, 40}}, {{0, 2, 16}, {16, 18, 16}, {32, 34, 8}}},
        {"gaps", {{0, 2}, {5, 9}, {20, 16}}, {{0, 0, 2}, {2, 5, 9}, {11, 20, 16}}},
        {"the end", {{44, 16}}, {{0, 44, 16}}},
    };
    return all;
}

/// The sample as the second key of a table, and the definition of that key.
class Defined {
public:
    explicit Defined(const Sample &sample, std::size_t index = 1)
        : keys_{KeyLayout{sample.members, sample.length()},
                KeyLayout{sample.members, sample.length()}},
          rest_(max_segments(keys_[0])),
          key(define_key({"l2vpn_sample", stored_length, TableLayout::no_field, keys_}, index,
                         rest_.data())) {}

    [[nodiscard]] std::vector<KeySegment> segments() const {
        std::vector<KeySegment> all{key.first};
        all.insert(all.end(), key.rest.begin(), key.rest.end());
        return all;
    }

private:
    std::array<KeyLayout, 2> keys_;
    std::vector<KeySegment> rest_;

public:
    const KeyDefinition key;
};

/// A record outside of the store, in a slot, and its packed key.
struct Sources {
    explicit Sources(const Sample &sample) : packed(sample.length()) { set(sample, {}); }

    /// Adds `amount` to the byte at `changed`.
    void set(const Sample &sample, std::size_t changed, int amount = 0) {
        std::iota(record.data(), record.data() + stored_length, char{100});
        record.data()[changed] = static_cast<char>(record.data()[changed] + amount);
        words.fill(~Word{0});
        copy_in(words.data(), record.data(), stored_length);
        char *at = packed.data();
        for (const KeyMember &member : sample.members) {
            std::memcpy(at, record.data() + member.offset, member.width);
            at += member.width;
        }
    }

    test::GuardedMemory record{stored_length};
    test::GuardedMemory packed;
    std::array<Word, words_for(stored_length) + 2> words; // a slot has a link or a number after it
};

TEST(KeyDefinition, ConsistsOfContiguousSegments) {
    for (const Sample &sample : samples()) {
        const Defined defined(sample);
        std::vector<std::tuple<int, int, int>> found;
        for (const KeySegment &segment : defined.segments())
            found.emplace_back(segment.key, segment.record, segment.bytes);
        EXPECT_EQ(found, sample.segments) << sample.name;
        EXPECT_LE(found.size(), max_segments({sample.members, sample.length()})) << sample.name;
        EXPECT_EQ(defined.key.length, sample.length()) << sample.name;
    }
}

TEST(KeyDefinition, HasAnIdentifierWord) {
    const Sample &sample = samples()[3];
    EXPECT_EQ(Defined(sample, 0).key.id, 0x0001000AU);
    EXPECT_EQ(Defined(sample, 0).key.number(), 0U);
    EXPECT_EQ(Defined(sample, 1).key.id, 0x0109000AU);
    EXPECT_EQ(Defined(sample, 1).key.number(), 1U);
}

TEST(KeyDefinition, HasRandomKeysOfItsOwn) {
    std::set<Word> random;
    std::size_t words = 0;
    for (int round = 0; round < 2; ++round)
        for (const Sample &sample : samples()) {
            const Defined defined(sample);
            random.insert(defined.key.random);
            ++words;
            for (const KeySegment &segment : defined.segments()) {
                random.insert(std::begin(segment.random), std::end(segment.random));
                words += 4;
            }
        }
    EXPECT_EQ(random.size(), words);
}

/// Pair-multiply-shift as in its definition, one key per 32 bits of the value, and a permutation.
Hash reference_hash(const Defined &defined, const char *packed) {
    Word sum = defined.key.random;
    for (const KeySegment &segment : defined.segments()) {
        std::uint32_t value[4] = {};
        std::memcpy(value, packed + segment.key, segment.bytes);
        const Word *const random = segment.random;
        sum += (random[1] + value[0]) * (random[0] + value[1]);
        sum += (random[3] + value[2]) * (random[2] + value[3]);
    }
    auto hash = static_cast<Hash>(sum >> 32);
    hash = (hash ^ hash >> 16) * 0x2C1B3C6D;
    return hash ^ hash >> 16;
}

TEST(KeyDefinition, HashesAllSourcesAlike) {
    for (const Sample &sample : samples()) {
        const Defined defined(sample);
        const Sources sources(sample);
        const Hash expected = reference_hash(defined, sources.packed.data());
        const char *const record = sources.record.data();
        const Word *const words = sources.words.data();
        EXPECT_EQ(defined.key.probe(PackedKey{sources.packed.data()}).hash, expected)
            << sample.name;
        EXPECT_EQ(defined.key.probe(record).hash, expected) << sample.name;
        EXPECT_EQ(defined.key.probe(words).hash, expected) << sample.name;
    }
}

TEST(KeyDefinition, MatchesRecordsWithTheSameBytes) {
    for (const Sample &sample : samples()) {
        const Defined defined(sample);
        const Sources wanted(sample);
        const auto probe = defined.key.probe(PackedKey{wanted.packed.data()});
        const auto record = defined.key.probe(static_cast<const char *>(wanted.record.data()));
        for (std::size_t changed = 0; changed < stored_length; ++changed) {
            Sources other(sample);
            other.set(sample, changed, changed % 2 == 0 ? 1 : -128);
            bool member = false;
            for (const KeyMember &part : sample.members)
                member |= changed >= part.offset && changed < std::size_t{part.offset} + part.width;
            const Word *const words = other.words.data();
            EXPECT_EQ(defined.key.matches(probe, words), !member) << sample.name << " " << changed;
            EXPECT_EQ(defined.key.matches(record, words), !member) << sample.name << " " << changed;
            EXPECT_EQ(defined.key.probe(words).hash == probe.hash, !member)
                << sample.name << " " << changed;
        }
    }
}

} // namespace
} // namespace l2vpn::platform
