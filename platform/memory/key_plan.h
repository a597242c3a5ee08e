// SPDX-License-Identifier: MIT
// How a key is taken from a packed key or a record, hashed and compared: in pieces of up to 8 bytes
// that stand together in both.
#pragma once

#include <span>

#include "platform/memory/words.h"
#include "platform/table_layout.h"

namespace l2vpn::platform {

using Hash = std::uint32_t;

/// A key as a request carries it.
struct PackedKey {
    const char *bytes;
};

/// Where to find a piece in a packed key or a record: in the 8 bytes (fewer if the whole is
/// shorter) at an offset that keeps them within the whole.
struct Spot {
    std::uint16_t at;
    std::uint8_t bytes;
    std::uint8_t shift; ///< by how many bits the piece lies above the lowest

    [[nodiscard]] Word in(const char *whole) const {
        return load_bytes(whole + at, bytes) >> shift;
    }
};

/// Each value is taken in one of two ways: of<true> if the piece has 8 bytes, of<false> always.
struct KeyPiece {
    Word mask; ///< of its bytes
    Spot key;
    Spot record;
    std::uint16_t stored; ///< offset in the stored record

    template <bool Wide>
    [[nodiscard]] Word of(PackedKey from) const {
        return Wide ? load_bytes(from.bytes + key.at, 8) : key.in(from.bytes) & mask;
    }
    /// Of a record that is not stored.
    template <bool Wide>
    [[nodiscard]] Word of(const char *from) const {
        return Wide ? load_bytes(from + record.at, 8) : record.in(from)&mask;
    }
    /// Of a stored record, behind which more words of the store's stand.
    template <bool Wide>
    [[nodiscard]] Word of(const Word *from) const {
        const Word word = load_within(from, stored);
        return Wide ? word : word & mask;
    }
};

/// Multiplies to 128 bits and folds, so that every input bit reaches every output bit.
inline Word mix(Word a, Word b) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{a} * b;
    return static_cast<Word>(product) ^ static_cast<Word>(product >> 64);
}

/// One key of a table.
struct KeyPlan {
    std::span<const KeyPiece> pieces;
    bool wide;            ///< all pieces have 8 bytes
    std::uint32_t id;     ///< the key identifier word: index, flags and length
    std::uint32_t length; ///< in bytes

    template <class Source>
    [[nodiscard]] Hash hash(Source from) const {
        return wide ? hash<true>(from) : hash<false>(from);
    }

    /// Whether a stored record has the key.
    template <class Source>
    [[nodiscard]] bool same(Source from, const Word *stored) const {
        return wide ? same<true>(from, stored) : same<false>(from, stored);
    }

private:
    template <bool Wide, class Source>
    [[nodiscard]] Hash hash(Source from) const {
        constexpr Word odd1 = 0x9E3779B97F4A7C15, odd2 = 0xD1B54A32D192ED03; // golden ratio
        Word hash = odd1;
        for (const KeyPiece &piece : pieces)
            hash = mix(hash ^ piece.of<Wide>(from), odd2);
        return static_cast<Hash>(hash >> 32);
    }

    template <bool Wide, class Source>
    [[nodiscard]] bool same(Source from, const Word *stored) const {
        for (const KeyPiece &piece : pieces)
            if (piece.of<Wide>(stored) != piece.of<Wide>(from))
                return false;
        return true;
    }
};

/// The most pieces that a key of the layout can have.
std::size_t max_pieces(const KeyLayout &key);

/// The plan for key `index` of a table, with its pieces written to `pieces`.
KeyPlan make_plan(const TableLayout &table, std::size_t index, KeyPiece *pieces);

} // namespace l2vpn::platform
