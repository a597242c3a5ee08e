// SPDX-License-Identifier: MIT
#include "tests/support/tsv.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace l2vpn::test {

namespace {

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

/// The environment variable selects the tables of another catalog.
std::string expected_folder() {
    const char *other = std::getenv("L2VPN_TEST_EXPECTED_DIR");
    return other != nullptr ? other : L2VPN_TEST_EXPECTED_DIR;
}

} // namespace

std::vector<Row> read_tsv(const std::string &file_name) {
    const std::string folder = expected_folder();
    std::ifstream file(folder + "/" + file_name);
    std::vector<std::string> columns;
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::vector<std::string> cells = split(line, '\t');
        if (columns.empty()) {
            columns = std::move(cells);
            continue;
        }
        if (cells.size() != columns.size()) {
            throw std::runtime_error(
                std::string(file_name).append(": wrong number of cells: ").append(line));
        }
        Row &row = rows.emplace_back();
        for (std::size_t i = 0; i < cells.size(); ++i) {
            row[columns[i]] = cells[i];
        }
    }
    if (columns.empty()) {
        throw std::runtime_error(file_name + ": no header line in " + folder);
    }
    return rows;
}

std::vector<std::string> split_list(std::string_view text, char separator) {
    return text.empty() || text == "-" ? std::vector<std::string>{} : split(text, separator);
}

std::uint32_t to_number(const std::string &text) {
    std::size_t used = 0;
    const unsigned long value = std::stoul(text, &used, 0);
    if (used != text.size() || value > UINT32_MAX) {
        throw std::runtime_error("not a 32-bit number: " + text);
    }
    return static_cast<std::uint32_t>(value);
}

} // namespace l2vpn::test
