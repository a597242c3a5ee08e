// SPDX-License-Identifier: MIT
#include "tests/support/facts.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "tests/support/table_list.h"
#include "tests/support/tsv.h"

namespace l2vpn::test {

namespace {

template <class T>
T load(const Bytes &bytes, std::size_t offset) {
    T value{};
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

bool is_context(const std::string &field) {
    return field == "svcCtx" || field == "glbSvcCtx" || field == "nhpSvcCtx";
}

void add_copies(std::vector<Copy> &calls, const Field &field) {
    const std::uint32_t pieces = field.elements == 2 ? 2 : 1;
    const std::uint32_t size = field.width / pieces;
    for (std::uint32_t i = 0; i < pieces && !field.assigned(); ++i) {
        calls.push_back({field.offset + i * size, field.stored_offset + i * size, size});
    }
}

void place_stored_fields(Facts &table) {
    std::uint32_t end = 0;
    for (Field &field : table.fields) {
        field.stored_offset = end;
        end += field.width;
    }
    if (table.typed && !table.listed) {
        table.stored_size = end;
    }
}

Field named_field(const Facts &table, std::string_view name) {
    const Field *field = table.find(name);
    if (field == nullptr) {
        throw std::runtime_error(table.name + ": no field " + std::string(name));
    }
    return *field;
}

ItemKind item_kind(const std::string &mark) {
    if (mark.empty()) {
        return ItemKind::number;
    }
    if (mark == "pair") {
        return ItemKind::pair;
    }
    return mark == "address" ? ItemKind::address : ItemKind::words;
}

// ---- From tests/expected

std::map<std::string, Facts> read_listed() {
    std::map<std::string, Facts> tables;
    for (const Row &row : read_tsv("tables.tsv")) {
        Facts &table = tables[row.at("table")];
        table.name = row.at("table");
        table.listed = true;
        table.typed = row.at("access") == "typed";
        table.record_size = to_number(row.at("record_size"));
        table.stored_size = table.typed ? to_number(row.at("stored_size")) : 0;
    }
    for (const Row &row : read_tsv("fields.tsv")) {
        Field field{row.at("field"), to_number(row.at("id")), to_number(row.at("offset")),
                    to_number(row.at("width"))};
        if (const auto parts = split_list(row.at("elements"), 'x'); !parts.empty()) {
            field.elements = to_number(parts.at(0));
        }
        tables.at(row.at("table")).fields.push_back(field);
    }
    for (auto &[name, table] : tables) {
        place_stored_fields(table);
    }
    for (const Row &row : read_tsv("keys.tsv")) {
        Facts &table = tables.at(row.at("table"));
        Key key{to_number(row.at("index")), row.at("key"), row.at("infix"), 0, 0, {}};
        if (table.typed) {
            key.length = to_number(row.at("length"));
            key.word = to_number(row.at("word"));
        }
        for (const std::string &member : split_list(row.at("members"))) {
            key.members.push_back(named_field(table, member));
        }
        table.keys.push_back(key);
    }
    for (const Row &row : read_tsv("formats.tsv")) {
        Facts &table = tables.at(row.at("table"));
        for (const std::string &item : split_list(row.at("printed"))) {
            const std::size_t colon = item.find(':');
            table.printed.push_back(
                {named_field(table, item.substr(0, colon)),
                 item_kind(colon == std::string::npos ? "" : item.substr(colon + 1))});
        }
        table.separator_at_end = row.at("separator_at_end") == "yes";
    }
    for (const Row &row : read_tsv("quirks.tsv")) {
        Facts &table = tables.at(row.at("table"));
        table.no_null_tests |= row.at("quirk") == "no_null_tests";
        table.svc_fields_split |= row.at("quirk") == "svc_fields_split";
    }
    return tables;
}

// ---- From the schema descriptor

std::vector<Field> fields_of(const L2vpnAstModule &module) {
    const std::size_t count = module.sizes & 0xFFFF;
    std::vector<Field> fields;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t position = module.fields[i].position;
        Field field{module.fields[i].name, static_cast<std::uint32_t>(position & 0xFFFF),
                    static_cast<std::uint32_t>(position >> 32),
                    static_cast<std::uint32_t>(position >> 16 & 0xFFFF)};
        const bool last = i + 1 == count;
        if (last ? field.name == "svcStatus" || field.name == "svcErrcode" || is_context(field.name)
                 : (module.fields[i + 1].position & 0xFFFF) == field.id + 2) {
            field.elements = 2;
        } else if (field.width != 1 && field.width != 2 && field.width != 4 && field.width != 8) {
            field.elements = field.width;
        }
        fields.push_back(field);
    }
    return fields;
}

std::vector<Key> keys_of(const Facts &table, const L2vpnAstModule &module) {
    std::vector<Key> keys;
    for (std::uint32_t i = 0; i < (module.sizes >> 16 & 0xFFFF); ++i) {
        const L2vpnAstKey &source = module.keys[i];
        Key key{i, source.name, key_infix(i, source.name), 0, 0, {}};
        for (std::uint64_t m = 0; m < source.memberCount; ++m) {
            key.members.push_back(named_field(table, source.members[m]));
            key.length += key.members.back().width;
        }
        key.word = i << 24 | (i == 0 ? 1U : 9U) << 16 | key.length;
        keys.push_back(key);
    }
    return keys;
}

// The selection of printed fields follows no rule; the names that the formatter itself prints are
// taken as the selection, so that its order, kinds, values and limits can be checked.
void take_printed_names(Facts &table, const SchemaTable &functions) {
    const Bytes zeros(table.record_size);
    std::vector<char> text(16384);
    functions.format_table(zeros.data(), text.data(), static_cast<std::uint32_t>(text.size()),
                           "\x1F");
    const std::string line = text.data();
    for (const std::string &item : split_list(line, '\x1F')) {
        if (item.empty()) {
            table.separator_at_end = true;
            break;
        }
        const Field field = named_field(table, item.substr(0, item.find(':')));
        ItemKind kind = ItemKind::number;
        if (item.find(":0x") != std::string::npos) {
            kind = ItemKind::words;
        } else if (field.elements == 2) {
            kind = ItemKind::pair;
        } else if (field.elements > 2) {
            kind = ItemKind::address;
        }
        table.printed.push_back({field, kind});
    }
}

/// Whether the table's catalog file names the quirk, which no descriptor tells.
bool names_quirk(const std::string &table, const std::string &quirk) {
    std::ifstream file(L2VPN_TEST_CATALOG_DIR "/" + table + ".toml");
    std::string line;
    while (std::getline(file, line)) {
        if (line.starts_with("quirks") && line.find('"' + quirk + '"') != std::string::npos) {
            return true;
        }
    }
    return false;
}

Facts derived(const SchemaTable &functions) {
    const L2vpnAstModule &module = *functions.module();
    Facts table;
    table.name = functions.name;
    table.typed = std::ranges::any_of(
        typed_tables, [&](const TypedTable &typed) { return typed.name == table.name; });
    table.record_size = static_cast<std::uint32_t>(module.sizes >> 32);
    table.fields = fields_of(module);
    place_stored_fields(table);
    table.keys = keys_of(table, module);
    table.no_null_tests = names_quirk(table.name, "no_null_tests");
    table.svc_fields_split = names_quirk(table.name, "svc_fields_split");
    take_printed_names(table, functions);
    return table;
}

std::map<std::string, Facts> &known_tables() {
    static std::map<std::string, Facts> tables = read_listed();
    return tables;
}

std::vector<std::string> listed_names(bool typed_only) {
    std::vector<std::string> names;
    for (const Row &row : read_tsv("tables.tsv")) {
        if (!typed_only || row.at("access") == "typed") {
            names.push_back(row.at("table"));
        }
    }
    return names;
}

} // namespace

bool Field::service() const {
    return name == "svcStatus" || name == "svcErrcode" || name == "glbSvcCtx" || name == "svcCtx";
}

const Field *Facts::find(std::string_view field) const {
    const auto found =
        std::ranges::find_if(fields, [&](const Field &each) { return each.name == field; });
    return found == fields.end() ? nullptr : &*found;
}

std::vector<std::uint32_t> Facts::gap_bytes() const {
    std::vector<std::uint32_t> gaps;
    for (std::uint32_t i = 0; i < record_size; ++i) {
        if (std::ranges::none_of(
                fields, [&](const Field &f) { return i >= f.offset && i < f.offset + f.width; })) {
            gaps.push_back(i);
        }
    }
    return gaps;
}

std::vector<Copy> Facts::copies() const {
    std::vector<Copy> calls;
    for (const Field &field : fields) {
        if (!svc_fields_split || !field.service()) {
            add_copies(calls, field);
        }
    }
    if (svc_fields_split) {
        const std::vector<Copy> last = service_copies();
        calls.insert(calls.end(), last.begin(), last.end());
    }
    return calls;
}

std::vector<Copy> Facts::service_copies() const {
    std::vector<Copy> calls;
    for (const Field &field : fields) {
        if (field.service()) {
            add_copies(calls, field);
        }
    }
    return calls;
}

const Facts &facts(const std::string &table) {
    auto &tables = known_tables();
    if (const auto found = tables.find(table); found != tables.end()) {
        return found->second;
    }
    const auto functions = std::ranges::find_if(
        schema_tables, [&](const SchemaTable &schema) { return schema.name == table; });
    if (functions == schema_tables.end()) {
        throw std::runtime_error("the library has no table " + table);
    }
    return tables.emplace(table, derived(*functions)).first->second;
}

const std::vector<std::string> &listed_tables() {
    static const std::vector<std::string> names = listed_names(false);
    return names;
}

const std::vector<std::string> &listed_typed_tables() {
    static const std::vector<std::string> names = listed_names(true);
    return names;
}

std::string key_infix(std::uint32_t index, std::string_view key_name) {
    if (index == 0) {
        return "Primary";
    }
    std::vector<std::string> parts = split_list(key_name, '_');
    if (parts.back() == "key") {
        parts.pop_back();
    }
    std::string infix;
    for (const std::string &part : parts) {
        for (std::size_t i = 0; i < part.size(); ++i) {
            const int letter = static_cast<unsigned char>(part[i]);
            infix += static_cast<char>(i == 0 ? std::toupper(letter) : std::tolower(letter));
        }
    }
    return infix;
}

Bytes sample_record(std::uint32_t size, std::uint32_t seed) {
    Bytes record(size);
    std::uint32_t state = seed * 2654435761U + 12345U;
    for (std::uint8_t &byte : record) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return record;
}

Bytes packed_record(const Facts &table, const Bytes &record) {
    Bytes stored;
    for (const Field &field : table.fields) {
        for (std::uint32_t i = 0; i < field.width; ++i) {
            stored.push_back(record.at(field.offset + i));
        }
    }
    return stored;
}

Bytes unpacked_record(const Facts &table, const Bytes &stored, Bytes record) {
    std::size_t at = 0;
    for (const Field &field : table.fields) {
        for (std::uint32_t i = 0; i < field.width; ++i) {
            record.at(field.offset + i) = stored.at(at++);
        }
    }
    return record;
}

Bytes packed_key(const Key &key, const Bytes &record) {
    Bytes value;
    for (const Field &member : key.members) {
        for (std::uint32_t i = 0; i < member.width; ++i) {
            value.push_back(record.at(member.offset + i));
        }
    }
    return value;
}

std::vector<Piece> printed_pieces(const Facts &table, const Bytes &record,
                                  const std::string &separator) {
    std::vector<Piece> pieces;
    for (std::size_t n = 0; n < table.printed.size(); ++n) {
        const auto &[field, kind] = table.printed[n];
        const bool separated = n + 1 < table.printed.size() || table.separator_at_end;
        const std::string end = separated ? separator : "";
        const std::string end_format = separated ? "%s" : "";
        std::uint32_t number = 0;
        switch (kind) {
        case ItemKind::pair:
            pieces.push_back({field.name + ":%u %u" + end_format,
                              field.name + ":" + std::to_string(record.at(field.offset)) + " " +
                                  std::to_string(record.at(field.offset + 1)) + end});
            continue;
        case ItemKind::words:
            pieces.push_back({field.name + ":0x", field.name + ":0x"});
            for (std::uint32_t at = 0; at < field.width; at += 4) {
                std::ostringstream text;
                text << ' ' << std::hex << load<std::uint32_t>(record, field.offset + at);
                pieces.push_back({" %x", text.str()});
            }
            if (separated) {
                pieces.push_back({"%s", separator});
            }
            continue;
        case ItemKind::address:
            number = static_cast<std::uint32_t>(
                reinterpret_cast<std::uintptr_t>(record.data() + field.offset));
            break;
        case ItemKind::number:
            number = field.width == 1   ? record.at(field.offset)
                     : field.width == 2 ? load<std::uint16_t>(record, field.offset)
                                        : load<std::uint32_t>(record, field.offset);
            break;
        }
        pieces.push_back(
            {field.name + ":%u" + end_format, field.name + ":" + std::to_string(number) + end});
    }
    return pieces;
}

std::string printed_text(const std::vector<Piece> &pieces, std::size_t buffer_length) {
    std::string text;
    for (const Piece &piece : pieces) {
        if (text.size() + piece.text.size() + 1 <= buffer_length) {
            text += piece.text;
        }
    }
    return text;
}

} // namespace l2vpn::test
