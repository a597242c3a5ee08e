// SPDX-License-Identifier: MIT
// Reads the tab-separated files that tests/support/expectations.py writes, or those in the folder
// that the environment variable L2VPN_TEST_EXPECTED_DIR names: comment lines (#), a header line,
// rows.
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

/// Splits at every separator; "-" and "" give an empty list.
std::vector<std::string> split_list(std::string_view text, char separator = ',');

/// A whole cell as a number, decimal or 0x...; throws if it is anything else.
std::uint32_t to_number(const std::string &text);

} // namespace l2vpn::test
