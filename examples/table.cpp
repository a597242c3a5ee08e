// SPDX-License-Identifier: MIT
#include "table.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

#include <dlfcn.h>

namespace l2vpn::demo {
namespace {

/// "l2vpn_vpls_ac_share" gives "L2vpnVplsAcShare".
std::string camel_case(std::string_view name) {
    std::string camel;
    bool first = true;
    for (const char character : name) {
        if (character == '_') {
            first = true;
            continue;
        }
        const bool lower = character >= 'a' && character <= 'z';
        camel += first && lower ? static_cast<char>(character - 'a' + 'A') : character;
        first = false;
    }
    return camel;
}

template <class Function>
Function exported(const std::string &name) {
    return reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name.c_str()));
}

constexpr std::size_t bits(std::uint64_t word, unsigned from, unsigned count) {
    return static_cast<std::size_t>(word >> from & ((std::uint64_t{1} << count) - 1));
}

/// A two-element array takes two field ids.
Field::Kind kind_of(std::size_t width, std::size_t id, std::size_t next_id) {
    if (width == 2 && next_id == id + 2) {
        return Field::Kind::pair;
    }
    const bool number = width == 1 || width == 2 || width == 4 || width == 8;
    return number ? Field::Kind::number : Field::Kind::bytes;
}

std::vector<Field> fields_of(const L2vpnAstModule &schema) {
    const std::span fields(schema.fields, bits(schema.sizes, 0, 16));
    const auto id_of = [](const L2vpnAstField &field) { return bits(field.position, 0, 16); };
    std::vector<Field> result;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::size_t id = id_of(fields[i]);
        const std::size_t next_id = i + 1 < fields.size() ? id_of(fields[i + 1]) : id + 1;
        const std::size_t width = bits(fields[i].position, 16, 16);
        result.push_back({fields[i].name, static_cast<std::uint32_t>(id),
                          bits(fields[i].position, 32, 32), width, kind_of(width, id, next_id)});
    }
    return result;
}

template <class Integer>
void put(std::byte *at, std::uint64_t number) {
    const auto value = static_cast<Integer>(number);
    std::memcpy(at, &value, sizeof value);
}

template <class Integer>
std::uint64_t get(const std::byte *at) {
    Integer value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

} // namespace

const Field *Table::field(const std::string &field_name) const {
    const auto found = std::ranges::find(fields, field_name, &Field::name);
    return found == fields.end() ? nullptr : &*found;
}

std::optional<Table> find_table(const std::string &name) {
    const std::string camel = camel_case(name);
    const auto module = exported<L2vpnAstModule *(*)()>("L2VPN_AST_" + camel + "Module");
    if (module == nullptr || module()->name != name) {
        return std::nullopt;
    }
    const L2vpnAstModule &schema = *module();
    Table table{name, bits(schema.sizes, 32, 32), fields_of(schema), {}, {}};
    for (const char *member : std::span(schema.keys[0].members, schema.keys[0].memberCount)) {
        table.primary_key.push_back(*table.field(member));
    }
    if (const auto access = exported<L2vpnDalIntf (*)()>("L2VPN_DB_" + camel + "DalIntf")) {
        table.access = access();
    }
    return table;
}

void put_number(std::byte *at, std::size_t width, std::uint64_t number) {
    switch (width) {
    case 1:
        return put<std::uint8_t>(at, number);
    case 2:
        return put<std::uint16_t>(at, number);
    case 4:
        return put<std::uint32_t>(at, number);
    default:
        return put<std::uint64_t>(at, number);
    }
}

std::uint64_t get_number(const std::byte *at, std::size_t width) {
    switch (width) {
    case 1:
        return get<std::uint8_t>(at);
    case 2:
        return get<std::uint16_t>(at);
    case 4:
        return get<std::uint32_t>(at);
    default:
        return get<std::uint64_t>(at);
    }
}

} // namespace l2vpn::demo
