// SPDX-License-Identifier: MIT
// The facts that a table is tested against, from the files that tests/support/expectations.py
// writes. The models (packing, keys, text) are naive on purpose.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::test {

using Bytes = std::vector<std::uint8_t>;

struct Field {
    std::string name;
    std::uint32_t id = 0;
    std::uint32_t offset = 0; ///< in the caller record
    std::uint32_t width = 0;
    std::uint32_t elements = 1; ///< 2: a two-element array; more: a byte string
    std::uint32_t stored_offset = 0;

    /// Integers and one-byte elements are; everything else goes through memcpy_s.
    [[nodiscard]] bool assigned() const { return elements == 1 || (elements == 2 && width == 2); }
    /// One of those that svc_fields_split is about.
    [[nodiscard]] bool service() const;
};

struct Key {
    std::uint32_t index = 0;
    std::string name;
    std::string infix;
    std::uint32_t length = 0;
    std::uint32_t word = 0;
    std::vector<Field> members;

    [[nodiscard]] std::uint32_t code() const { return index << 8 | (index == 0 ? 1U : 9U); }
};

enum class ItemKind : std::uint8_t { number, pair, words, address };

/// One printed field.
struct Item {
    Field field;
    ItemKind kind = ItemKind::number;
};

/// One call of memcpy_s that a conversion makes.
struct Copy {
    std::uint32_t offset;
    std::uint32_t stored_offset;
    std::uint32_t size;
};

struct Facts {
    std::string name;
    bool typed = false;
    std::uint32_t record_size = 0;
    std::uint32_t stored_size = 0;
    std::vector<Field> fields;
    std::vector<Key> keys;
    std::vector<Item> printed;
    bool separator_at_end = false;
    bool no_null_tests = false;
    bool svc_fields_split = false;

    [[nodiscard]] const Field *find(std::string_view field) const;
    /// The caller record's bytes that belong to no field.
    [[nodiscard]] std::vector<std::uint32_t> gap_bytes() const;
    /// The calls of memcpy_s of one conversion, in order. Service fields with conversions of their
    /// own come last.
    [[nodiscard]] std::vector<Copy> copies() const;
    /// Those of the service fields alone.
    [[nodiscard]] std::vector<Copy> service_copies() const;
    [[nodiscard]] std::uint32_t key_buffer() const { return (keys.front().length + 7) / 8 * 8; }
};

/// Throws std::out_of_range for an unknown table.
const Facts &facts(const std::string &table);

/// In alphabetical order.
const std::vector<std::string> &table_names();
const std::vector<std::string> &typed_table_names();

/// "smooth_hash_key" to "SmoothHash"; key index 0 is always "Primary".
std::string key_infix(std::uint32_t index, std::string_view key_name);

/// A record of the given size whose bytes differ from those around them and from other seeds.
Bytes sample_record(std::uint32_t size, std::uint32_t seed = 1);

/// The stored record of a caller record.
Bytes packed_record(const Facts &table, const Bytes &record);

/// The caller record that a stored record becomes when it is read over the given one.
Bytes unpacked_record(const Facts &table, const Bytes &stored, Bytes record);

/// The value of a key.
Bytes packed_key(const Key &key, const Bytes &record);

/// One call of sprintf_s: its format and the text that it gives.
struct Piece {
    std::string format;
    std::string text;
};

/// What the formatter prints for the record, piece by piece.
std::vector<Piece> printed_pieces(const Facts &table, const Bytes &record,
                                  const std::string &separator);

/// The pieces that fit into a buffer: one that does not is left out and the next one is tried.
std::string printed_text(const std::vector<Piece> &pieces, std::size_t buffer_length);

} // namespace l2vpn::test
