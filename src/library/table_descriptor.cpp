// SPDX-License-Identifier: MIT
#include "library/table_descriptor.h"

namespace l2vpn {

std::uint32_t find_mapping(std::uint32_t id, const IdMap &map) {
    for (std::size_t i = 0; i < map.count; ++i)
        if (map.pairs[i].id == id)
            return map.pairs[i].value;
    return L2VPN_DB_NO_MAPPING;
}

} // namespace l2vpn
