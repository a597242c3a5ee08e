// SPDX-License-Identifier: MIT
// Loads the input as a record file: either all of its records are stored, or none and diagnostics
// name the errors.
#include <charconv>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

#include <arpa/inet.h>
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
/// Each table's records by primary key, with zero padding.
using Contents = std::map<std::string, std::map<Record, Record>>;

/// An in-memory file.
class File {
public:
    File() : file_(memfd_create("records.json", 0)) {
        require(file_ >= 0, "in-memory file");
        path_ = "/proc/self/fd/" + std::to_string(file_);
    }
    void write(const std::uint8_t *data, std::size_t size) const {
        require(ftruncate(file_, 0) == 0 &&
                    pwrite(file_, data, size, 0) == static_cast<ssize_t>(size),
                "in-memory file");
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
        require(table.release_iter(iter) == L2VPN_DB_OK, "result of ReleaseIter");
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
                    "result of Write");
        }
    }
}

void clear() {
    Contents contents = stored();
    for (const TypedTable &table : typed_tables)
        for (const auto &[key, record] : contents[table.name])
            require(table.remove(record.data()) == L2VPN_DB_OK, "result of Delete");
}

/// The field's bytes, parsed independently of the loader.
Record parse(const records::Field &field, const nlohmann::json &value) {
    Record bytes;
    if (value.is_string() && field.display == records::Display::ipv6) {
        bytes.resize(16);
        require(inet_pton(AF_INET6, value.get_ref<const std::string &>().c_str(), bytes.data()) ==
                    1,
                "IPv6 address");
        return bytes;
    }
    if (value.is_string() && field.display != records::Display::ipv4) {
        for (const char *at = value.get_ref<const std::string &>().c_str();; ++at) {
            char *end = nullptr;
            bytes.push_back(static_cast<std::byte>(std::strtoul(at, &end, 16)));
            require(end == at + 2 && (*end == ':' || *end == '\0'), "two digits per byte");
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
            require(element.get<std::uint64_t>() <= 0xFF, "range of a byte");
            bytes.push_back(static_cast<std::byte>(element.get<std::uint8_t>()));
        }
    } else {
        auto number = value.get<std::uint64_t>();
        for (std::size_t i = 0; i < field.width; ++i, number = number >> 4 >> 4)
            bytes.push_back(static_cast<std::byte>(number));
        require(number == 0, "range of a field");
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
                        const Record bytes = parse(field, value);
                        require(bytes.size() == field.width, "width of a value");
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

void expect_position(const std::string &error, const std::string &path, std::size_t lines) {
    const std::string_view text = error;
    require(text.starts_with(path + ":"), "file of a diagnostic");
    std::size_t line = 0;
    const auto [end, code] =
        std::from_chars(text.data() + path.size() + 1, text.data() + text.size(), line);
    require(code == std::errc{} && line >= 1 && line <= lines, "line of a diagnostic");
    require(std::string_view(end, text.data() + text.size()).starts_with(": "),
            "format of a diagnostic");
    require(text.size() >= path.size() + 10, "text of a diagnostic");
    require(std::ranges::none_of(text,
                                 [](char each) { return static_cast<unsigned char>(each) < ' '; }),
            "diagnostic of one line");
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
    const auto expect_rejected = [&](const std::string &contents) {
        const Contents before = stored();
        const auto result = load(contents);
        require(result.diagnostics.count > 0 && result.failure.empty(), "diagnostics");
        require(result.stored == 0 && stored() == before, "tables unchanged by an invalid file");
        const auto lines = 1 + static_cast<std::size_t>(std::ranges::count(contents, '\n'));
        for (const std::string &message : result.diagnostics.messages)
            expect_position(message, file.path(), lines);
    };
    const auto loaded = load(text);
    if (loaded.diagnostics.count > 0) {
        require(stored().empty(), "tables empty after an invalid file");
        expect_rejected(text);
        return 0;
    }
    require(loaded.failure.empty(), "reading the file");
    const std::size_t begin = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    const bool json = text.find_first_not_of(" \t\r\n", begin) == text.find('{');
    Contents expected;
    if (json) {
        apply(text.substr(begin), false, expected);
        std::erase_if(expected, [](const auto &table) { return table.second.empty(); });
        require(stored() == expected, "records of the file");
    }
    expect_rejected(text + "\n]");
    invert();
    expect_rejected(text + "\n]");
    expected = stored();
    require(load(text, true).errors().empty(), "merging the same file");
    if (json) {
        apply(text.substr(begin), true, expected);
        std::erase_if(expected, [](const auto &table) { return table.second.empty(); });
        require(stored() == expected, "merged records");
    }
    clear();
    return 0;
}
