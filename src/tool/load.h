// SPDX-License-Identifier: MIT
// Loading record files.
#pragma once

#include <string>

namespace l2vpn::tool {

/// Loads a file before a command, and prints nothing.
/// @throws Failure with the errors of the file
void load_before(const std::string &path);

} // namespace l2vpn::tool
