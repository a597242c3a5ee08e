// SPDX-License-Identifier: MIT
// The input as a record file: the tables hold all of it afterwards, or none and diagnostics say
// why.
#include <charconv>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>
#include <sys/mman.h>
#include <unistd.h>

#include "records/record_loader.h"
#include "records/table_schema.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {
namespace {

using Record = std::vector<std::byte>;
/// Of each table, the records by primary key, with 0 in the padding.
using Contents = std::map<std::string, std::map<Record, Record>>;

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

Contents stored() {
    Contents contents;
    for (const TypedTable &table : typed_tables) {
        const records::Key &key = records::find_table(table.name)->primary_key();
        Record record(table.record_size);
        L2vpnDbIter *const iter = table.create_iter(0, nullptr);
        while (table.get_next(iter, record.data()) == L2VPN_DB_OK)
            contents[table.name][key_of(key, record)] = record;
        require(table.release_iter(iter) == L2VPN_DB_OK, "a release");
    }
    return contents;
}

/// Inverts the fields of all records except the primary keys.
void invert() {
    for (const auto &[name, table_records] : stored()) {
        const records::Table &table = *records::find_table(name);
        for (auto [key, record] : table_records) {
            for (const records::Field &field : table.fields)
                if (std::ranges::count(table.primary_key().members, field.id,
                                       &records::Field::id) == 0)
                    for (std::size_t i = 0; i < field.width; ++i)
                        record[field.offset + i] ^= std::byte{0xFF};
            require(table.access->write(record.data(), static_cast<std::uint32_t>(record.size())) ==
                        L2VPN_DB_OK,
                    "a write");
        }
    }
}

void clear() {
    Contents contents = stored();
    for (const TypedTable &table : typed_tables)
        for (const auto &[key, record] : contents[table.name])
            require(table.remove(record.data()) == L2VPN_DB_OK, "a delete");
}

/// The field's bytes as the file gives them, read in a way of its own.
Record given(const records::Field &field, const nlohmann::json &value) {
    Record bytes;
    if (value.is_string() && field.display >= records::Display::mac) {
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

/// Applies a JSON text: its records replace those in the contents, or are merged into them.
void apply(const std::string &text, bool merge, Contents &contents) {
    std::istringstream all(text);
    const bool one = nlohmann::json::accept(text);
    for (std::string line; std::getline(all, line, one ? '\0' : '\n');) {
        if (line.find_first_not_of(" \t\r") == line.npos)
            continue;
        const auto tables = nlohmann::ordered_json::parse(line);
        for (const auto &[name, json_records] : tables.items()) {
            if (name == "version")
                continue;
            const records::Table &table = *records::find_table(name);
            for (const auto &json : json_records) {
                Record record(table.record_size);
                const auto set_fields = [&] {
                    for (const auto &[field_name, value] : json.items()) {
                        const records::Field &field = *table.field(field_name);
                        const Record bytes = given(field, value);
                        require(bytes.size() == field.width, "a value as long as the field");
                        std::ranges::copy(bytes, record.begin() +
                                                     static_cast<std::ptrdiff_t>(field.offset));
                    }
                };
                set_fields();
                Record &old = contents[name][key_of(table.primary_key(), record)];
                if (merge && !old.empty()) {
                    record = old;
                    set_fields();
                }
                old = record;
            }
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
    static const File file;
    const std::string text(data, data + size);
    const l2vpn::records::LoadOptions options{.csv_table = "l2vpn_stp"};
    const auto load = [&](const std::string &contents, bool merge = false) {
        file.write(reinterpret_cast<const std::uint8_t *>(contents.data()), contents.size());
        auto changed = options;
        changed.merge = merge;
        return l2vpn::records::load(file.path(), changed);
    };
    const auto expect_refused = [&](const std::string &contents) {
        const Contents before = stored();
        const auto result = load(contents);
        require(result.diagnostics.count > 0 && result.failure.empty(), "diagnostics");
        require(result.stored == 0 && stored() == before, "tables as they were");
        const auto lines = 1 + static_cast<std::size_t>(std::ranges::count(contents, '\n'));
        for (const std::string &message : result.diagnostics.messages)
            expect_place(message, file.path(), lines);
    };
    const auto loaded = load(text);
    if (loaded.diagnostics.count > 0) {
        require(stored().empty(), "nothing stored");
        expect_refused(text);
        return 0;
    }
    require(loaded.failure.empty(), "a file that can be read");
    const std::size_t begin = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    const bool json = text.find_first_not_of(" \t\r\n", begin) == text.find('{');
    Contents expected;
    if (json) {
        apply(text.substr(begin), false, expected);
        std::erase_if(expected, [](const auto &table) { return table.second.empty(); });
        require(stored() == expected, "the records of the file");
    }
    expect_refused(text + "\n]");
    invert();
    expect_refused(text + "\n]");
    expected = stored();
    require(load(text, true).errors().empty(), "the same file");
    if (json) {
        apply(text.substr(begin), true, expected);
        std::erase_if(expected, [](const auto &table) { return table.second.empty(); });
        require(stored() == expected, "the merged records");
    }
    clear();
    return 0;
}
