// SPDX-License-Identifier: MIT
// Generated table facts and compile-time derivations from them. A table is a type T with the
// members
//
//     Record                 the caller record of the public header
//     name                   the schema name
//     fields[]               Field, in record order
//     keys[], key_members[]  Key, the primary key first; indexes into fields[], key after key
//     trailing_separator     the formatter also appends the separator to the last item
//
// and, if it has typed access,
//
//     ControlBlock           the control block of the public header
//     row                    its row in interface_rows
//     no_null_tests          fast iterator, update and setter skip their null checks
//     svc_fields_split       the service fields are converted separately
//     control_block(), descriptor(), set_fields_function and, with a batchVersion,
//     set_batch_version      the exported objects and functions that the templates use
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "l2vpn_db/l2vpn_db.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

enum class Kind : std::uint8_t {
    integer, ///< 1, 2, 4 or 8 bytes
    mac,     ///< 6 bytes
    bytes,   ///< opaque bytes
    pair,    ///< two elements of one byte
    context, ///< two elements of several opaque bytes
};

struct Field {
    const char *name;
    std::uint16_t id;
    std::uint16_t offset; ///< in the caller record
    std::uint16_t width;  ///< all elements together
    Kind kind;
    bool printed;

    /// Whether the field is copied by moves; other kinds go through memcpy_s.
    [[nodiscard]] constexpr bool plain() const {
        return kind == Kind::integer || kind == Kind::pair;
    }
};

struct Key {
    const char *name;
    std::uint16_t first; ///< of its members in key_members[]
    std::uint16_t count;
};

constexpr std::size_t no_field = SIZE_MAX;

template <class T>
constexpr std::size_t field_count = std::size(T::fields);
template <class T>
constexpr std::size_t key_count = std::size(T::keys);

/// Offset of a field in the stored record, which has no padding.
template <class T>
constexpr std::size_t stored_offset(std::size_t field) {
    std::size_t offset = 0;
    for (std::size_t i = 0; i < field; ++i)
        offset += T::fields[i].width;
    return offset;
}

template <class T>
constexpr std::uint32_t stored_size = stored_offset<T>(field_count<T>);

template <class T>
constexpr std::size_t field_named(std::string_view name) {
    for (std::size_t i = 0; i < field_count<T>; ++i)
        if (T::fields[i].name == name)
            return i;
    return no_field;
}

/// Member m of key k.
template <class T>
constexpr Field key_member(std::size_t k, std::size_t m) {
    return T::fields[T::key_members[T::keys[k].first + m]];
}

template <class T>
constexpr std::uint32_t key_length(std::size_t k) {
    std::uint32_t length = 0;
    for (std::size_t m = 0; m < T::keys[k].count; ++m)
        length += key_member<T>(k, m).width;
    return length;
}

constexpr std::uint32_t key_flags(std::size_t k) {
    return k == 0 ? 1 : 9;
}

/// Key identifier word: index, flags and length.
template <class T>
constexpr std::uint32_t key_id_word(std::size_t k) {
    return static_cast<std::uint32_t>(k) << 24 | key_flags(k) << 16 | key_length<T>(k);
}

/// Key code, the value of the key map.
constexpr std::uint32_t key_code(std::size_t k) {
    return static_cast<std::uint32_t>(k) << 8 | key_flags(k);
}

/// Index of the key with the code, if there is one.
constexpr std::size_t key_of_code(std::uint32_t code) {
    return code >> 8;
}

template <class T>
constexpr std::size_t batch_version = field_named<T>("batchVersion");
template <class T>
constexpr bool has_batch_version = batch_version<T> != no_field;

} // namespace l2vpn
