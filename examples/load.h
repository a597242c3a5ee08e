// SPDX-License-Identifier: MIT
// Stores the records of a checked file through the tables' generic interfaces.
#pragma once

#include <optional>
#include <string>

#include "record_file.h"

namespace l2vpn::demo {

/// Stores all records, or none: if one is refused, those before it are put back as they were.
/// @return what went wrong, none if nothing
std::optional<std::string> store_records(const RecordFile &file);

} // namespace l2vpn::demo
