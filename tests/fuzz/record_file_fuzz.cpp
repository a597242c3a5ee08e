// SPDX-License-Identifier: MIT
// The input as a file of records, JSON or JSON Lines: all of it is stored, or nothing and messages
// say why, each with its place in the file.
#include <charconv>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>
#include <sys/mman.h>
#include <unistd.h>

#include "examples/record_file.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {
namespace {

using demo::RecordFile;
using demo::TableRecords;
using Record = std::vector<std::byte>;

/// A file in memory.
class File {
public:
    File() : file_(memfd_create("records.json", 0)) {
        require(file_ >= 0, "a file in memory");
        path_ = "/proc/self/fd/" + std::to_string(file_);
    }
    void write(const std::uint8_t *data, std::size_t size) const {
        require(ftruncate(file_, 0) == 0 &&
                    pwrite(file_, data, size, 0) == static_cast<ssize_t>(size),
                "a file in memory");
    }
    [[nodiscard]] const std::string &path() const { return path_; }

private:
    int file_;
    std::string path_;
};

const TypedTable &functions_of(const TableRecords &table) {
    return *std::ranges::find(typed_tables, table.table.name, &TypedTable::name);
}

std::uint32_t count(const TypedTable &table) {
    std::uint32_t result = 0;
    require(table.count(&result) == L2VPN_DB_OK, "a count");
    return result;
}

/// The fields that both records have alike, without the bytes between them.
bool same(const TableRecords &table, const Record &left, const Record &right) {
    return std::ranges::all_of(table.table.fields, [&](const records::Field &field) {
        const auto at = static_cast<std::ptrdiff_t>(field.offset);
        return std::equal(left.begin() + at, left.begin() + at + static_cast<int>(field.width),
                          right.begin() + at);
    });
}

void expect_stored(const RecordFile &file) {
    for (const TableRecords &table : file.tables) {
        const TypedTable &functions = functions_of(table);
        require(count(functions) == table.records.size(), "the number of records");
        for (const demo::Record &record : table.records) {
            Record read = record.bytes;
            require(functions.read(read.data()) == L2VPN_DB_OK, "a record that was stored");
            require(same(table, read, record.bytes), "a record's contents");
        }
    }
}

void expect_nothing_stored() {
    for (const TypedTable &table : typed_tables)
        require(count(table) == 0, "an empty store");
}

void remove_all(const RecordFile &file) {
    for (const TableRecords &table : file.tables)
        for (const demo::Record &record : table.records)
            require(functions_of(table).remove(record.bytes.data()) == L2VPN_DB_OK, "a delete");
}

/// The same records with other contents under the same keys, and a last one that is refused.
RecordFile refused_at_the_end(RecordFile file) {
    for (TableRecords &table : file.tables)
        for (demo::Record &record : table.records)
            for (const records::Field &field : table.table.fields)
                if (std::ranges::find(table.table.primary_key().members, field.id,
                                      &records::Field::id) ==
                    table.table.primary_key().members.end())
                    record.bytes[field.offset] ^= std::byte{0xFF};
    TableRecords &last = file.tables.back();
    last.records.push_back({1, Record(last.table.record_size + 1)});
    return file;
}

/// The field's bytes as the file gives them, read in a way of its own.
Record given(const records::Field &field, const nlohmann::json &value) {
    Record bytes;
    if (value.is_string() && field.kind == records::Field::Kind::bytes) {
        for (const char *at = value.get_ref<const std::string &>().c_str();; ++at) {
            char *end = nullptr;
            bytes.push_back(static_cast<std::byte>(std::strtoul(at, &end, 16)));
            require(end == at + 2 && (*end == ':' || *end == '\0'), "two digits for a byte");
            at = end;
            if (*at == '\0')
                return bytes;
        }
    }
    if (value.is_string()) {
        std::istringstream text(value.get<std::string>());
        for (std::string part; std::getline(text, part, '.');)
            bytes.insert(bytes.begin(), static_cast<std::byte>(std::stoul(part)));
    } else if (value.is_array()) {
        for (const nlohmann::json &element : value) {
            require(element.get<std::uint64_t>() <= 0xFF, "a number that a byte can hold");
            bytes.push_back(static_cast<std::byte>(element.get<std::uint8_t>()));
        }
    } else {
        auto number = value.get<std::uint64_t>();
        for (std::size_t i = 0; i < field.width; ++i, number = number >> 4 >> 4)
            bytes.push_back(static_cast<std::byte>(number));
        require(number == 0, "a number that the field can hold");
    }
    return bytes;
}

/// What was accepted holds what the text says and is 0 otherwise.
void expect_contents(const RecordFile &file, const std::uint8_t *data, std::size_t size) {
    nlohmann::json text = nlohmann::json::object();
    std::istringstream all(std::string(data, data + size));
    const bool one = nlohmann::json::accept(all.str());
    for (std::string line; std::getline(all, line, one ? '\0' : '\n');) {
        if (line.find_first_not_of(" \t\r") == line.npos)
            continue;
        const auto tables = nlohmann::json::parse(line);
        for (const auto &[table, records] : tables.items())
            if (table != "version")
                for (const nlohmann::json &record : records)
                    text[table].push_back(record);
    }
    require(text.size() == file.tables.size(), "the number of tables");
    for (const TableRecords &table : file.tables) {
        const nlohmann::json &records = text.at(table.table.name);
        require(records.size() == table.records.size(), "the number of records");
        for (std::size_t i = 0; i < records.size(); ++i) {
            Record expected(table.table.record_size);
            for (const auto &[name, value] : records[i].items()) {
                const records::Field *const field = table.table.field(name);
                require(field != nullptr, "a field that there is");
                const Record bytes = given(*field, value);
                require(bytes.size() == field->width, "a value as long as the field");
                std::ranges::copy(bytes,
                                  expected.begin() + static_cast<std::ptrdiff_t>(field->offset));
            }
            require(expected == table.records[i].bytes, "a record as the file gives it");
        }
    }
}

void expect_place(const std::string &error, const std::string &path, std::size_t lines) {
    const std::string_view text = error;
    require(text.starts_with(path + ":"), "a message's file");
    std::size_t line = 0;
    const auto [end, code] =
        std::from_chars(text.data() + path.size() + 1, text.data() + text.size(), line);
    require(code == std::errc{} && line >= 1 && line <= lines, "a message's line");
    require(std::string_view(end, text.data() + text.size()).starts_with(": "), "a message");
    require(text.size() >= path.size() + 10, "a message's text");
    require(std::ranges::none_of(text,
                                 [](char each) { return static_cast<unsigned char>(each) < ' '; }),
            "a message of one line");
}

} // namespace
} // namespace l2vpn::test

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace l2vpn::test;
    using namespace l2vpn::demo;
    static const File in_memory;
    in_memory.write(data, size);
    const RecordFile file = read_record_file(in_memory.path());
    if (!file.errors.empty()) {
        require(file.tables.empty(), "records beside errors");
        const std::size_t lines =
            1 + static_cast<std::size_t>(std::count(data, data + size, std::uint8_t{'\n'}));
        for (const std::string &error : file.errors)
            expect_place(error, in_memory.path(), lines);
        require(store_records(file) == std::nullopt, "nothing to store");
        expect_nothing_stored();
        return 0;
    }
    expect_contents(file, data, size);
    if (!file.tables.empty()) {
        const RecordFile refused = refused_at_the_end(file);
        require(store_records(refused).has_value(), "a record that is refused");
        expect_nothing_stored();
        require(store_records(file) == std::nullopt, "records that are right");
        expect_stored(file);
        require(store_records(refused).has_value(), "a record that is refused");
    }
    expect_stored(file);
    remove_all(file);
    expect_nothing_stored();
    return 0;
}
