// SPDX-License-Identifier: MIT
// How a key is taken from a packed key or a record, hashed and compared.
#pragma once

#include <span>

#include "platform/store/seqlock_copy.h"
#include "platform/store/table_layout.h"

namespace l2vpn::platform {

using Hash = std::uint32_t;

/// A key as a request carries it.
struct PackedKey {
    const char *bytes;
};

/// Some bytes of a key that stand together in the record, at most 16, as two numbers.
struct SegmentValue {
    Word first;
    Word last; ///< overlaps `first` if the segment has fewer than 16 bytes

    bool operator==(const SegmentValue &) const = default;
};

struct KeySegment {
    std::uint16_t key;    ///< offset in the packed key
    std::uint16_t record; ///< offset in the record
    std::uint16_t bytes;

    [[nodiscard]] SegmentValue of(PackedKey from) const { return at(from.bytes + key); }
    /// Of a record that is not stored.
    [[nodiscard]] SegmentValue of(const char *from) const { return at(from + record); }
    /// Of a stored record, behind which more words of the store's stand.
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

/// Multiplies to 128 bits and folds, so that every input bit reaches every output bit.
inline Word mix(Word value) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{value} * 0xD1B54A32D192ED03;
    return static_cast<Word>(product) ^ static_cast<Word>(product >> 64);
}

/// One key of a table.
struct KeyDefinition {
    std::uint32_t id;     ///< the key identifier word: index, flags and length
    std::uint32_t length; ///< in bytes
    KeySegment head;      ///< its first segment: of most primary keys, the only one
    std::span<const KeySegment> rest;

    template <class Source>
    [[nodiscard]] Hash hash(Source from) const {
        Word hash = add(0x9E3779B97F4A7C15, head.of(from));
        if (!rest.empty()) [[unlikely]]
            hash = rest_hash(hash, from);
        return static_cast<Hash>(hash ^ hash >> 32);
    }

    /// Whether a stored record has the key.
    template <class Source>
    [[nodiscard]] bool matches(Source from, const Word *stored) const {
        return head.of(stored) == head.of(from) && (rest.empty() || rest_matches(from, stored));
    }

private:
    // The two words are not multiplied by one another: a word that makes a factor 0 or all ones
    // would give all keys with it one hash.
    static Word add(Word hash, SegmentValue segment) {
        return mix(hash ^ segment.first ^ std::rotl(segment.last * 0x8CB92BA72F3D8DD7, 32));
    }

    // Not inline: most searches would lose by it.

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

/// The most segments that a key of the layout can have.
std::size_t max_segments(const KeyLayout &key);

/// The plan for key `index` of a table; segments but the first are written to `segments`.
KeyDefinition define_key(const TableLayout &table, std::size_t index, KeySegment *segments);

} // namespace l2vpn::platform
