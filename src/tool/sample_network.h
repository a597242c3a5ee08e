// SPDX-License-Identifier: MIT
// A generated provider network: virtual routers with service instances, and their interfaces,
// pseudowires and MAC addresses. The name of a field determines its values, so that new tables get
// records too, and references refer to existing records.
#pragma once

#include <cstdint>

#include "tool/operands.h"

namespace l2vpn::tool {

class SampleNetwork {
public:
    static constexpr std::uint64_t max_instances = 10'000'000;

    /// @param option  names the number of instances in messages
    /// @throws Failure if that is 0 or more than max_instances
    SampleNetwork(const char *option, std::uint64_t instances, std::uint64_t seed);

    /// The number of records of a table.
    std::uint64_t size(const Table &table) const;

    /// Visits at most `most` records of a table, with distinct primary keys.
    void records_of(const Table &table, std::uint64_t most, const Visitor &visit) const;

private:
    std::uint64_t instances_, seed_;
};

} // namespace l2vpn::tool
