// SPDX-License-Identifier: MIT
// The processors that this process may use.
#pragma once

#include <cstddef>
#include <vector>

namespace l2vpn::bench {

/// The processors in the thread's affinity mask at the first call.
const std::vector<std::size_t> &processors();

/// Binds the calling thread to a processor; throws if that fails.
void bind_to(std::size_t processor);

} // namespace l2vpn::bench
