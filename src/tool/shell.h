// SPDX-License-Identifier: MIT
// Command lines: splitting into words, and completion.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::tool {

/// Splits a line as a shell does: at blanks, outside quotation marks. A backslash escapes the next
/// character, and # begins a comment.
/// @throws Failure for an unclosed quotation mark
std::vector<std::string> words_of(std::string_view line);

/// Completions of the end of a line, which begins after the last blank or comma.
std::vector<std::string> completions_of(const std::string &line);

} // namespace l2vpn::tool
