// SPDX-License-Identifier: MIT
// A hint for a misspelt name.
#pragma once

#include <string>
#include <vector>

namespace l2vpn::records {

/// The known name with the fewest single-character edits from the given one; the first of several.
/// There must be a known name.
const std::string &nearest(const std::string &name, const std::vector<std::string> &known);

} // namespace l2vpn::records
