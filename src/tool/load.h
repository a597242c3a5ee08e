// SPDX-License-Identifier: MIT
// Files of records into the tables.
#pragma once

#include <string>

namespace l2vpn::tool {

/// Loads a file before a command, which says nothing if all is right.
/// @throws Failure with everything that is wrong with the file
void load_before(const std::string &path);

} // namespace l2vpn::tool
