// SPDX-License-Identifier: MIT
#include "tests/support/facts.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>

#include "tests/support/tsv.h"

namespace l2vpn::test {

namespace {

template <class T>
T load(const Bytes &bytes, std::size_t offset) {
    T value{};
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
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
}

Field require_field(const Facts &table, std::string_view name) {
    const Field *field = table.find(name);
    if (field == nullptr) {
        throw std::runtime_error(table.name + ": no field " + std::string(name));
    }
    return *field;
}

ItemKind item_kind(const std::string &suffix) {
    if (suffix.empty()) {
        return ItemKind::number;
    }
    if (suffix == "pair") {
        return ItemKind::pair;
    }
    return suffix == "address" ? ItemKind::address : ItemKind::words;
}

std::map<std::string, Facts> read_facts() {
    std::map<std::string, Facts> tables;
    for (const Row &row : read_tsv("tables.tsv")) {
        Facts &table = tables[row.at("table")];
        table.name = row.at("table");
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
            key.members.push_back(require_field(table, member));
        }
        table.keys.push_back(key);
    }
    for (const Row &row : read_tsv("formats.tsv")) {
        Facts &table = tables.at(row.at("table"));
        for (const std::string &item : split_list(row.at("printed"))) {
            const std::size_t colon = item.find(':');
            table.printed.push_back(
                {require_field(table, item.substr(0, colon)),
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

const std::map<std::string, Facts> &known_tables() {
    static const std::map<std::string, Facts> tables = read_facts();
    return tables;
}

std::vector<std::string> names_of(bool typed_only) {
    std::vector<std::string> names;
    for (const auto &[name, table] : known_tables()) {
        if (!typed_only || table.typed) {
            names.push_back(name);
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

std::vector<std::uint32_t> Facts::padding() const {
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t i = 0; i < record_size; ++i) {
        if (std::ranges::none_of(
                fields, [&](const Field &f) { return i >= f.offset && i < f.offset + f.width; })) {
            offsets.push_back(i);
        }
    }
    return offsets;
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
    return known_tables().at(table);
}

const std::vector<std::string> &table_names() {
    static const std::vector<std::string> names = names_of(false);
    return names;
}

const std::vector<std::string> &typed_table_names() {
    static const std::vector<std::string> names = names_of(true);
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
