// SPDX-License-Identifier: MIT
// A key of a table: which bytes of a record it consists of, and how they are hashed and compared.
#pragma once

#include <span>

#include "platform/store/seqlock_copy.h"
#include "platform/store/table_layout.h"

namespace l2vpn::platform {

using Hash = std::uint32_t;

/// The value of a key as in a request: its members, packed in key order.
struct PackedKey {
    const char *bytes;
};

/// The bytes of a key segment.
struct SegmentValue {
    Word first;
    Word last; ///< overlaps `first` if the segment has fewer than 16 bytes

    bool operator==(const SegmentValue &) const = default;
};

/// Bytes of a key, at most 16, that are contiguous in the packed key and in the record.
struct KeySegment {
    std::uint16_t key;    ///< offset in the packed key
    std::uint16_t record; ///< offset in the record
    std::uint16_t bytes;

    [[nodiscard]] SegmentValue of(PackedKey from) const { return at(from.bytes + key); }
    /// From a record outside the store.
    [[nodiscard]] SegmentValue of(const char *from) const { return at(from + record); }
    /// From a slot of the record pool, which continues after the record: whole words may be read.
    [[nodiscard]] SegmentValue of(const Word *from) const {
        if (bytes >= sizeof(Word)) [[likely]]
            return {load_within(from, record), load_within(from, record + bytes - sizeof(Word))};
        return {load_within(from, record) & ~Word{0} >> (64 - 8 * bytes), 0};
    }

private:
    [[nodiscard]] SegmentValue at(const char *from) const {
        if (bytes >= sizeof(Word)) [[likely]]
            return {load_bytes(from, sizeof(Word)),
                    load_bytes(from + bytes - sizeof(Word), sizeof(Word))};
        return {load_bytes(from, bytes), 0};
    }
};

/// Multiplies to 128 bits and folds, so that every input bit affects every output bit.
inline Word mix(Word value) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{value} * 0xD1B54A32D192ED03;
    return static_cast<Word>(product) ^ static_cast<Word>(product >> 64);
}

/// One key of a table.
struct KeyDefinition {
    std::uint32_t id;     ///< the key identifier word: index, flags and length
    std::uint32_t length; ///< in bytes
    KeySegment first;     ///< of most primary keys, the only segment
    std::span<const KeySegment> rest;

    /// The key's index in the table; 0 is the primary key.
    [[nodiscard]] std::uint32_t number() const { return id >> 24; }

    // A source is a packed key, a record, or the words of a stored record.

    template <class Source>
    [[nodiscard]] Hash hash(Source from) const {
        Word hash = add(0x9E3779B97F4A7C15, first.of(from));
        if (!rest.empty()) [[unlikely]]
            hash = rest_hash(hash, from);
        return static_cast<Hash>(hash ^ hash >> 32);
    }

    /// Whether a stored record has the key value of the source.
    template <class Source>
    [[nodiscard]] bool matches(Source from, const Word *stored) const {
        return first.of(stored) == first.of(from) && (rest.empty() || rest_matches(from, stored));
    }

private:
    // The two words are not multiplied by each other: a factor of 0 or of all ones would map all
    // values of the other word to one hash.
    static Word add(Word hash, SegmentValue segment) {
        return mix(hash ^ segment.first ^ std::rotl(segment.last * 0x8CB92BA72F3D8DD7, 32));
    }

    // Not inlined, because that slows down keys of one segment.

    template <class Source>
    [[nodiscard, gnu::noinline]] Word rest_hash(Word hash, Source from) const {
        for (const KeySegment &segment : rest)
            hash = add(hash, segment.of(from));
        return hash;
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

/// Defines key `index` of a table. Writes segments after the first to `rest`, which must outlive
/// the definition.
KeyDefinition define_key(const TableLayout &table, std::size_t index, KeySegment *rest);

} // namespace l2vpn::platform
