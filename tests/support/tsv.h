// SPDX-License-Identifier: MIT
// Reads the tab-separated files written by tests/support/expectations.py, or those in the folder in
// the environment variable L2VPN_TEST_EXPECTED_DIR: comment lines (#), a header line, rows.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::test {

/// One row: column name to text.
using Row = std::map<std::string, std::string, std::less<>>;

/// Throws std::runtime_error if the file cannot be read or a row's cells do not match the header.
std::vector<Row> read_tsv(const std::string &file_name);

/// Splits at every separator. Returns an empty list for "-" and "".
std::vector<std::string> split_list(std::string_view text, char separator = ',');

/// Parses a decimal or 0x... number. Throws std::runtime_error if anything else remains.
std::uint32_t to_number(const std::string &text);

} // namespace l2vpn::test
