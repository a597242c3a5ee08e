// SPDX-License-Identifier: MIT
// A table's schema descriptor and everything that it points to. The member order is part of the
// binary interface.
#pragma once

#include "library/table_facts.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

template <class T>
struct Schema {
    L2vpnAstModule module;
    L2vpnAstField fields[field_count<T>];
    const char *members[std::size(T::key_members)];
    L2vpnAstKey keys[key_count<T>];
};

/// Initial value of the descriptor at `self`.
template <class T>
constexpr Schema<T> make_schema(Schema<T> &self, L2vpnAstFormatFn format) {
    Schema<T> schema{};
    schema.module = {T::name,
                     self.fields,
                     self.keys,
                     std::uint64_t{sizeof(typename T::Record)} << 32 |
                         std::uint64_t{key_count<T>} << 16 | field_count<T>,
                     format,
                     {0, 0}};
    for (std::size_t i = 0; i < field_count<T>; ++i) {
        const Field &field = T::fields[i];
        schema.fields[i] = {field.name, std::uint64_t{field.offset} << 32 |
                                            std::uint64_t{field.width} << 16 | field.id};
    }
    for (std::size_t i = 0; i < std::size(T::key_members); ++i)
        schema.members[i] = T::fields[T::key_members[i]].name;
    for (std::size_t k = 0; k < key_count<T>; ++k)
        schema.keys[k] = {T::keys[k].name, k, &self.members[T::keys[k].first], T::keys[k].count};
    return schema;
}

} // namespace l2vpn
