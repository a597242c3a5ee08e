// SPDX-License-Identifier: MIT
// Suggestions for misspelt names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::records {

/// "unknown field \"mtv\"; did you mean \"mtu\"?", with the closest known name; without a
/// suggestion if none is close.
std::string unknown(std::string_view what, const std::string &name,
                    const std::vector<std::string> &known);

} // namespace l2vpn::records
