// SPDX-License-Identifier: MIT
// A made-up provider network: virtual routers with service instances, and their interfaces,
// pseudowires and MAC addresses. What a field holds follows from its name alone, so that a table
// that is new gets records too, and records that name others name existing ones.
#pragma once

#include <cstdint>

#include "tool/operands.h"

namespace l2vpn::tool {

class SampleNetwork {
public:
    static constexpr std::uint64_t most_instances = 10'000'000;

    /// @param option  that gives the number, for messages
    /// @throws Failure if it is too large, or has no instance
    SampleNetwork(const char *option, std::uint64_t instances, std::uint64_t seed);

    /// How many records a table has.
    std::uint64_t size(const Table &table) const;

    /// The table's records, the given number of them at most, each with a primary key of its own.
    void records_of(const Table &table, std::uint64_t most, const Visitor &visit) const;

private:
    std::uint64_t instances_, seed_;
};

} // namespace l2vpn::tool
