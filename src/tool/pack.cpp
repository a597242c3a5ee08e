// SPDX-License-Identifier: MIT
// Records and keys as bytes, which the library's own conversions and key builders make.
#include <algorithm>
#include <array>
#include <charconv>
#include <span>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "records/input_file.h"
#include "tool/command.h"
#include "tool/operands.h"
#include "tool/record_output.h"
#include "tool/result_table.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string hexadecimal(std::span<const std::byte> bytes, std::string_view separator = "") {
    return fmt::format("{:02x}", fmt::join(bytes, separator));
}

Bytes packed(const Table &table, const Bytes &record) {
    Bytes stored(table.stored_size);
    (void)table.functions.pack(record.data(), stored.data());
    return stored;
}

/// Prints a row per field, or per 16 bytes of it.
void print_bytes(const Table &table, const Arguments &arguments, std::span<const std::byte> bytes,
                 const Bytes &record, std::size_t Field::*offset) {
    constexpr std::size_t in_row = 16;
    ResultTable result("bytes", ResultTable::JsonForm::list,
                       {{"at"}, {"bytes"}, {"field"}, {"value"}});
    for (const auto &[begin, width, field] : extents_of(table, bytes.size(), offset)) {
        for (std::size_t at = 0; at < width; at += in_row) {
            result.add({begin + at,
                        hexadecimal(bytes.subspan(begin + at, std::min(in_row, width - at)), " "),
                        field == nullptr ? "(padding)" : field->name,
                        field == nullptr || width > in_row
                            ? ""
                            : field_text(*field, record.data(), arguments.style())});
        }
    }
    result.print(arguments);
}

/// The bytes that a text of hexadecimal digits gives.
Bytes bytes_of(std::string text) {
    std::erase_if(text, [](char each) {
        return std::string_view(" \t\r\n:").find(each) != std::string_view::npos;
    });
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        unsigned byte = 0;
        const char *const end = text.data() + std::min(i + 2, text.size());
        const auto result = std::from_chars(text.data() + i, end, byte, 16);
        if (result.ptr != text.data() + i + 2 || result.ec != std::errc{}) {
            throw Failure(exit_bad_input,
                          fmt::format("HEX: found {} at digit {}, expected pairs of hexadecimal "
                                      "digits",
                                      records::in_quotes(text.substr(i, 2)), i + 1));
        }
        bytes.push_back(static_cast<std::byte>(byte));
    }
    return bytes;
}

std::string all_of_standard_input() {
    records::InputFile source("-");
    std::string text;
    for (; source.peek() != records::InputFile::end; source.skip()) {
        text += static_cast<char>(source.peek());
    }
    return text;
}

} // namespace

Exit run_pack(const Arguments &arguments) {
    const Table &table = table_named(arguments.table);
    const Bytes record = record_of(table, arguments.values);
    const bool stored = table.access.has_value();
    const Bytes stored_record = stored ? packed(table, record) : Bytes{};
    if (arguments.layout == "caller") {
        fmt::print("{}\n", hexadecimal(record));
    } else if (arguments.layout == "stored") {
        stored_table_named(table.name, "it has no stored layout");
        fmt::print("{}\n", hexadecimal(stored_record));
    } else if (!arguments.layout.empty()) {
        throw Failure(exit_bad_input, fmt::format("--layout: found {}, expected caller or stored",
                                                  records::in_quotes(arguments.layout)));
    } else if (arguments.json) {
        const Json pack = {{"table", table.name},
                           {"caller", hexadecimal(record)},
                           {"stored", stored ? Json(hexadecimal(stored_record)) : Json()}};
        fmt::print("{}", json_line("pack", pack));
    } else {
        fmt::print("{}\n", bold(fmt::format("caller record, {} bytes", record.size())));
        print_bytes(table, arguments, record, record, &Field::offset);
        if (stored) {
            fmt::print("\n{}\n",
                       bold(fmt::format("stored record, {} bytes", stored_record.size())));
            print_bytes(table, arguments, stored_record, record, &Field::stored_offset);
        } else {
            fmt::print("\n{}: no stored record, as the table can only be described and "
                       "formatted\n",
                       table.name);
        }
    }
    return exit_done;
}

Exit run_unpack(const Arguments &arguments) {
    const Table &table = table_named(arguments.table);
    const Bytes bytes = bytes_of(arguments.hex == "-" ? all_of_standard_input() : arguments.hex);
    Bytes record(table.record_size);
    if (table.access && bytes.size() == table.stored_size) {
        (void)table.functions.unpack(bytes.data(), record.data());
    } else if (bytes.size() == table.record_size) {
        record = bytes;
    } else {
        throw Failure(exit_bad_input,
                      fmt::format("HEX: found {}, expected a caller record of {}{}",
                                  records::counted(bytes.size(), "byte"), table.record_size,
                                  table.access
                                      ? fmt::format(" or a stored record of {}", table.stored_size)
                                      : ""));
    }
    print_record(table, arguments, record);
    return exit_done;
}

Exit run_key(const Arguments &arguments) {
    const Table &table = stored_table_named(arguments.table, "it has no key builders");
    const Key &key = key_for(table, arguments.key, arguments.values);
    const Bytes record = record_with_key(table, key, arguments.values, false);
    L2vpnDbKeyData request{};
    std::array<std::uint32_t, L2VPN_DB_KEY_ID_LENGTH / 4> area{};
    Bytes buffer(key.length());
    table.functions.set_key[key.index](record.data(), &request, area.data(), buffer.data());
    const std::string word = fmt::format("{:#010x}", area[0]);
    ResultTable members("members", ResultTable::JsonForm::list,
                        {{"name", "member"}, {"at"}, {"bytes"}, {"value"}});
    std::size_t at = 0;
    for (const Field &member : key.members) {
        members.add({member.name, at, hexadecimal(std::span(buffer).subspan(at, member.width)),
                     field_text(member, record.data(), arguments.style())});
        at += member.width;
    }
    if (arguments.json) {
        fmt::print("{}", json_line("key", Json{{"table", table.name},
                                               {"name", key.name},
                                               {"index", key.index},
                                               {"word", word},
                                               {"length", request.keyLength},
                                               {"bytes", hexadecimal(buffer)},
                                               {"members", members.json()}}));
    } else {
        fmt::print("{}: key {}, index {}, flags {}, {} bytes: identifier word {}\n\n", table.name,
                   bold(key.name), area[0] >> 24, area[0] >> 16 & 255, request.keyLength, word);
        members.print(arguments);
    }
    return exit_done;
}

} // namespace l2vpn::tool
