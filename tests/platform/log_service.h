// SPDX-License-Identifier: MIT
// A log service that records its lines.
#pragma once

#include <string>
#include <vector>

namespace l2vpn::test {

/// Registers the service, which keeps lines from then on.
void register_log_service();
void unregister_log_service();

/// Returns the lines since the last call.
std::vector<std::string> take_log();

/// Sets a function that the service calls for each line; null for none.
void set_log_hook(void (*hook)());

} // namespace l2vpn::test
