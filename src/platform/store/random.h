// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace l2vpn::platform {

/// Fills memory with random bytes that another process cannot predict.
void fill_random(void *memory, std::size_t size);

} // namespace l2vpn::platform
