// SPDX-License-Identifier: MIT
// Records as bytes, converted by the library.
#include <algorithm>
#include <filesystem>
#include <span>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "records/field_value.h"
#include "records/input_file.h"
#include "records/value.h"
#include "tool/command.h"
#include "tool/hex_dump.h"
#include "tool/operands.h"
#include "tool/record_output.h"
#include "tool/result_table.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

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
            result.add(
                {begin + at,
                 records::hexadecimal(bytes.subspan(begin + at, std::min(in_row, width - at)), " "),
                 field == nullptr ? "(padding)" : field->name,
                 field == nullptr || width > in_row
                     ? ""
                     : field_text(*field, record.data(), arguments.style())});
        }
    }
    result.print(arguments);
}

/// Whether a caller record or a stored record has this many bytes.
bool is_size(const Table &table, std::size_t size) {
    return size == table.record_size || (table.access && size == table.stored_size);
}

/// The bytes of a record: digits on the command line, a file with a dump, or a file with the bytes
/// themselves.
Bytes input_bytes(const Table &table, const std::string &argument) {
    constexpr std::size_t most_text = 1 << 20;
    const bool inline_digits =
        argument.find_first_not_of("0123456789abcdefABCDEFxX \t\r\n,:") == argument.npos;
    std::error_code error;
    if (!inline_digits && argument != "-" && !std::filesystem::exists(argument, error)) {
        throw Failure(exit_bad_input,
                      fmt::format("unpack: {} is neither hexadecimal bytes nor a file",
                                  records::in_quotes(argument)));
    }
    std::string name = "HEX", text = argument;
    if (!inline_digits) {
        records::InputFile file(argument);
        name = file.name();
        for (text.clear(); file.peek() != records::InputFile::end; file.skip()) {
            text += static_cast<char>(file.peek());
            if (text.size() > most_text) {
                throw Failure(exit_bad_input, fmt::format("{}: too long for a record", name));
            }
        }
    }
    const auto raw = std::as_bytes(std::span(text));
    const bool binary = text.find('\0') != text.npos;
    const bool is_raw = !inline_digits && (binary || is_size(table, text.size()));
    Bytes bytes;
    try {
        bytes = parse_hex(text, name);
    } catch (const Failure &) {
        if (!is_raw) {
            throw;
        }
    }
    // A dump has at least two characters a byte: text of either length is not both.
    return is_raw && !is_size(table, bytes.size()) ? Bytes(raw.begin(), raw.end()) : bytes;
}

} // namespace

Exit run_pack(const Arguments &arguments) {
    const Table &table = table_named(arguments.table);
    const Bytes record = record_of(table, arguments.values);
    const bool stored = table.access.has_value();
    const Bytes stored_record = stored ? packed(table, record) : Bytes{};
    if (arguments.layout == "caller") {
        fmt::print("{}\n", records::hexadecimal(record));
    } else if (arguments.layout == "stored") {
        stored_table_named(table.name);
        fmt::print("{}\n", records::hexadecimal(stored_record));
    } else if (!arguments.layout.empty()) {
        throw Failure(exit_bad_input, fmt::format("--layout: found {}, expected caller or stored",
                                                  records::in_quotes(arguments.layout)));
    } else if (arguments.json) {
        const Json pack = {{"table", table.name},
                           {"caller", records::hexadecimal(record)},
                           {"stored", stored ? Json(records::hexadecimal(stored_record)) : Json()}};
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
    const Bytes bytes = input_bytes(table, arguments.hex);
    Bytes record(table.record_size);
    if (table.access && bytes.size() == table.stored_size) {
        (void)table.functions.unpack(bytes.data(), record.data());
    } else if (bytes.size() == table.record_size) {
        record = bytes;
    } else {
        throw Failure(exit_bad_input,
                      fmt::format("unpack: found {}, expected a caller record of {}{}",
                                  records::counted(bytes.size(), "byte"), table.record_size,
                                  table.access
                                      ? fmt::format(" or a stored record of {}", table.stored_size)
                                      : ""));
    }
    print_record(table, arguments, record);
    return exit_done;
}

} // namespace l2vpn::tool
