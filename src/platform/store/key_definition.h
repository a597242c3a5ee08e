// SPDX-License-Identifier: MIT
// A key of a table: which bytes of a record it consists of, and how they are hashed and compared.
#pragma once

#include <span>

#include "platform/store/shared_words.h"
#include "platform/store/table_layout.h"

namespace l2vpn::platform {

using Hash = std::uint32_t;

/// The value of a key as in a request: its members, packed in key order.
struct PackedKey {
    const char *bytes;
};

/// The bytes of a key segment; after the last one, 0.
struct SegmentValue {
    Word first;
    Word last;

    bool operator==(const SegmentValue &other) const {
        return ((first ^ other.first) | (last ^ other.last)) == 0;
    }
};

/// Bytes of a key, at most 16, that are contiguous in the packed key and in the record.
struct KeySegment {
    std::uint16_t key;    ///< offset in the packed key
    std::uint16_t record; ///< offset in the record
    std::uint16_t bytes;
    bool opaque;     ///< whether it has a member of a width other than 1, 2, 4 or 8
    Word first_mask; ///< selects the segment's bytes in SegmentValue::first
    Word last_mask;
    Word random[4]; ///< the hash function's keys, one per 32 bits of the value

    [[nodiscard]] SegmentValue of(PackedKey from) const { return at(from.bytes + key); }
    /// From a record outside the store.
    [[nodiscard]] SegmentValue of(const char *from) const { return at(from + record); }
    /// From a slot of the record pool: reads 16 bytes, of which the last may come after the record.
    [[nodiscard]] SegmentValue of(const Word *from) const {
        const char *const at = reinterpret_cast<const char *>(from) + record;
        return {load_word(at) & first_mask, load_word(at + sizeof(Word)) & last_mask};
    }

    /// The segment's term of the hash.
    [[nodiscard]] Word product(SegmentValue value) const {
        constexpr Word low_half = UINT32_MAX;
        return (random[0] + (value.first >> 32)) * (random[1] + (value.first & low_half)) +
               (random[2] + (value.last >> 32)) * (random[3] + (value.last & low_half));
    }

private:
    // The bytes are read in the widths in which key builders write them: a load that overlaps two
    // recent stores is not forwarded, and waits until all earlier loads are done.
    [[nodiscard]] SegmentValue at(const char *from) const {
        if (bytes <= sizeof(Word))
            return {load_bytes(from, bytes), 0};
        if (opaque && bytes == 2 * sizeof(Word)) [[unlikely]]
            return {load_pairs(from), load_pairs(from + sizeof(Word))};
        return {load_unaligned<Word>(from), load_bytes(from + sizeof(Word), bytes - sizeof(Word))};
    }
};

/// A key value to look up: a packed key, a record, or the words of a stored record.
template <class Source>
struct Probe {
    Source source;
    SegmentValue first; ///< the value's first segment
    std::uint32_t hash;
};

/// One key of a table.
struct KeyDefinition {
    std::uint32_t id;     ///< the key identifier word: index, flags and length
    std::uint32_t length; ///< in bytes
    Word random;          ///< the constant term of the hash
    KeySegment first;     ///< of most primary keys, the only segment
    std::span<const KeySegment> rest;

    /// The key's index in the table; 0 is the primary key.
    [[nodiscard]] std::uint32_t number() const { return id >> 24; }

    /// Hashes by pair-multiply-shift with random keys, which is strongly universal: over the random
    /// choice of keys, the hashes of two different values are independent and uniform. Any n bits
    /// of them are equal with a probability of 2^-n, even for values that an attacker chose.
    template <class Source>
    [[nodiscard, gnu::always_inline]] Probe<Source> probe(Source source) const {
        const SegmentValue value = first.of(source);
        Word sum = random + first.product(value);
        if (!rest.empty()) [[unlikely]]
            sum += rest_sum(source);
        return {source, value, scramble(static_cast<Hash>(sum >> 32))};
    }

    /// Whether a stored record has the key value.
    template <class Source>
    [[nodiscard, gnu::always_inline]] bool matches(const Probe<Source> &probe,
                                                   const Word *stored) const {
        return matches(probe.source, probe.first, stored);
    }
    template <class Source>
    [[nodiscard]] bool matches(Source source, const Word *stored) const {
        return matches(source, first.of(source), stored);
    }

private:
    /// The hashes of consecutive numbers are at equal distances and would crowd into few lines. A
    /// one-to-one mapping scatters them and keeps the hashes of two values independent.
    static Hash scramble(Hash hash) {
        hash = (hash ^ hash >> 16) * 0x2C1B3C6D;
        return hash ^ hash >> 16;
    }

    template <class Source>
    [[nodiscard, gnu::always_inline]] bool matches(Source source, SegmentValue value,
                                                   const Word *stored) const {
        return first.of(stored) == value && (rest.empty() || rest_matches(source, stored));
    }

    // Not inlined, because that slows down keys of one segment.

    template <class Source>
    [[nodiscard, gnu::noinline]] Word rest_sum(Source from) const {
        Word sum = 0;
        for (const KeySegment &segment : rest)
            sum += segment.product(segment.of(from));
        return sum;
    }
    template <class Source>
    [[nodiscard, gnu::noinline]] bool rest_matches(Source from, const Word *stored) const {
        for (const KeySegment &segment : rest)
            if (segment.of(stored) != segment.of(from))
                return false;
        return true;
    }
};

/// An upper bound of the number of segments of a key.
std::size_t max_segments(const KeyLayout &key);

/// Defines key `index` of a table, with new random keys of its hash. Writes segments after the
/// first to `rest`, which must outlive the definition.
KeyDefinition define_key(const TableLayout &table, std::size_t index, KeySegment *rest);

} // namespace l2vpn::platform
