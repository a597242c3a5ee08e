// SPDX-License-Identifier: MIT
// The expected facts of each table, read from the files written by tests/support/expectations.py.
// The models (packing, keys, text) are deliberately naive.
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

    /// Whether it is copied by assignment (integers, one-byte elements) and not by memcpy_s.
    [[nodiscard]] bool assigned() const { return elements == 1 || (elements == 2 && width == 2); }
    /// Whether it is a service field, which svc_fields_split affects.
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

/// A printed field.
struct Item {
    Field field;
    ItemKind kind = ItemKind::number;
};

/// A memcpy_s call of a conversion.
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
    /// The offsets of the caller record's padding bytes.
    [[nodiscard]] std::vector<std::uint32_t> padding() const;
    /// The memcpy_s calls of a conversion, in order. Service fields that are converted separately
    /// come last.
    [[nodiscard]] std::vector<Copy> copies() const;
    /// The calls for the service fields only.
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

/// A pseudorandom record of the given size.
Bytes sample_record(std::uint32_t size, std::uint32_t seed = 1);

/// The stored form of a caller record.
Bytes packed_record(const Facts &table, const Bytes &record);

/// The result of unpacking a stored record over a caller record; padding keeps its bytes.
Bytes unpacked_record(const Facts &table, const Bytes &stored, Bytes record);

/// The packed members of the key.
Bytes packed_key(const Key &key, const Bytes &record);

/// A sprintf_s call: its format and its output.
struct Piece {
    std::string format;
    std::string text;
};

/// The formatter's sprintf_s calls for the record, in order.
std::vector<Piece> printed_pieces(const Facts &table, const Bytes &record,
                                  const std::string &separator);

/// The pieces that fit into a buffer. A piece that does not fit is skipped.
std::string printed_text(const std::vector<Piece> &pieces, std::size_t buffer_length);

} // namespace l2vpn::test
