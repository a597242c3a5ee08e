// SPDX-License-Identifier: MIT
// Command lines apart from the commands: words and what completes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::tool {

/// The words of a line, as a shell takes them apart: blanks separate them but within quotation
/// marks, a backslash takes the next character as it is, and # begins a comment.
/// @throws Failure for a quotation mark that nothing closes
std::vector<std::string> words_of(std::string_view line);

/// What a line's last word, which may be empty, can go on with.
std::vector<std::string> completions_of(const std::string &line);

} // namespace l2vpn::tool
