// SPDX-License-Identifier: MIT
// A log service that keeps its lines.
#pragma once

#include <string>
#include <vector>

namespace l2vpn::test {

/// Registers the service; from now on lines are kept.
void register_log_service();
void unregister_log_service();

/// The lines since the last time.
std::vector<std::string> take_log();

/// Called, if not null, by the service.
void set_log_intruder(void (*intruder)());

} // namespace l2vpn::test
