// SPDX-License-Identifier: MIT
// How a key is taken from a stored record, hashed and compared.
#pragma once

#include <span>

#include "platform/memory/words.h"
#include "platform/table_layout.h"

namespace l2vpn::platform {

using Hash = std::uint32_t;

Hash hash_key(const void *key, std::size_t length);

/// At most 8 bytes of a key that stand together in the record.
struct KeyPiece {
    Word mask;            ///< of its bytes
    std::uint32_t record; ///< offset in the stored record
    std::uint32_t key;    ///< offset in the key
    std::uint32_t count;  ///< of its bytes

    /// The piece of a record that is stored. May look at the word behind it.
    [[nodiscard]] Word of(const Word *stored) const {
        const Word *const at = stored + record / sizeof(Word);
        const std::size_t shift = record % sizeof(Word) * 8;
        Word value = load(at[0]) >> shift;
        if (shift + std::size_t{count} * 8 > 64)
            value |= load(at[1]) << (64 - shift);
        return value & mask;
    }
    [[nodiscard]] Word of(const char *from) const { return load_bytes(from + record, count); }
    [[nodiscard]] Word of_key(const char *packed) const { return load_bytes(packed + key, count); }
};

/// The most pieces that a key of the layout can have.
std::size_t max_pieces(const KeyLayout &key);

/// Writes a key's pieces to `pieces`; their number.
std::size_t make_pieces(const KeyLayout &key, KeyPiece *pieces);

/// One key of a table.
struct KeyPlan {
    std::span<const KeyPiece> pieces;
    std::uint32_t length = 0;

    /// Packs the key of a record, stored (words) or not (bytes).
    template <class Record>
    void gather(char *key, const Record *record) const {
        for (const KeyPiece &piece : pieces) {
            const Word value = piece.of(record);
            std::memcpy(key + piece.key, &value, piece.count);
        }
    }

    /// Whether a stored record has the key.
    [[nodiscard]] bool matches(const char *key, const Word *stored) const {
        for (const KeyPiece &piece : pieces)
            if (piece.of(stored) != piece.of_key(key))
                return false;
        return true;
    }

    /// Whether a record and a stored one have the same key.
    [[nodiscard]] bool same(const char *record, const Word *stored) const {
        for (const KeyPiece &piece : pieces)
            if (piece.of(stored) != piece.of(record))
                return false;
        return true;
    }
};

} // namespace l2vpn::platform
