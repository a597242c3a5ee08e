// SPDX-License-Identifier: MIT
#include "records/table_schema.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <span>

namespace l2vpn::records {
namespace {

constexpr std::size_t bits(std::uint64_t word, unsigned from, unsigned count) {
    return static_cast<std::size_t>(word >> from & ((std::uint64_t{1} << count) - 1));
}

std::vector<Field> fields_of(const L2vpnAstModule &schema, const std::vector<Display> &displays) {
    const std::span fields(schema.fields, bits(schema.sizes, 0, 16));
    const auto id_of = [](const L2vpnAstField &field) { return bits(field.position, 0, 16); };
    std::vector<Field> result;
    std::size_t stored_offset = 0;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::size_t id = id_of(fields[i]);
        // A two-element array takes two field ids.
        const std::size_t elements = i + 1 < fields.size() ? id_of(fields[i + 1]) - id : 1;
        const std::size_t width = bits(fields[i].position, 16, 16);
        result.push_back({fields[i].name, static_cast<std::uint32_t>(id),
                          bits(fields[i].position, 32, 32), width, stored_offset, elements,
                          displays[i]});
        stored_offset += width;
    }
    return result;
}

Table table_of(const TableFunctions &functions) {
    const L2vpnAstModule &schema = *functions.module();
    Table table{schema.name, bits(schema.sizes, 32, 32),
                0,           fields_of(schema, functions.displays),
                {},          schema.format,
                functions,   {}};
    table.stored_size = table.fields.back().stored_offset + table.fields.back().width;
    for (const L2vpnAstKey &key : std::span(schema.keys, bits(schema.sizes, 16, 16))) {
        Key &added =
            table.keys.emplace_back(Key{key.name, static_cast<std::uint32_t>(key.index), {}});
        for (const char *member : std::span(key.members, key.memberCount)) {
            added.members.push_back(*table.field(member));
        }
    }
    if (functions.access != nullptr) {
        table.access = functions.access();
    }
    return table;
}

template <class Named>
const Named *named(const std::vector<Named> &all, std::string_view name) {
    const auto found = std::ranges::find(all, name, &Named::name);
    return found == all.end() ? nullptr : &*found;
}

template <class Named>
std::vector<std::string> names_of(const std::vector<Named> &all) {
    std::vector<std::string> names(all.size());
    std::ranges::transform(all, names.begin(), &Named::name);
    return names;
}

} // namespace

std::size_t Key::length() const {
    return std::accumulate(members.begin(), members.end(), std::size_t{0},
                           [](std::size_t sum, const Field &member) { return sum + member.width; });
}

std::uint32_t Key::word() const {
    return index << 24 | (index == 0 ? 1U : 9U) << 16 | static_cast<std::uint32_t>(length());
}

const Field *Table::field(std::string_view field_name) const {
    return named(fields, field_name);
}

const Key *Table::key(std::string_view key_name) const {
    return named(keys, key_name);
}

const std::vector<Table> &tables() {
    static const std::vector<Table> all = [] {
        std::vector<Table> result(table_functions.size());
        std::ranges::transform(table_functions, result.begin(), table_of);
        return result;
    }();
    return all;
}

const Table *find_table(std::string_view name) {
    return named(tables(), name);
}

std::vector<std::string> table_names() {
    return names_of(tables());
}

std::vector<std::string> field_names(const std::vector<Field> &fields) {
    return names_of(fields);
}

std::vector<std::string> key_names(const Table &table) {
    return names_of(table.keys);
}

Bytes key_of(const Key &key, const Bytes &record) {
    Bytes result;
    for (const Field &member : key.members) {
        const auto at = record.begin() + static_cast<std::ptrdiff_t>(member.offset);
        result.insert(result.end(), at, at + static_cast<std::ptrdiff_t>(member.width));
    }
    return result;
}

static_assert(std::endian::native == std::endian::little,
              "the first bytes of a number are its lowest");

void put_number(std::byte *at, std::size_t width, std::uint64_t number) {
    std::memcpy(at, &number, width);
}

std::uint64_t get_number(const std::byte *at, std::size_t width) {
    std::uint64_t number = 0;
    std::memcpy(&number, at, width);
    return number;
}

} // namespace l2vpn::records
