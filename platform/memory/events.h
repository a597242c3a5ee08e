// SPDX-License-Identifier: MIT
// Counting of a table's events through the library's statistics function. An atomic add at every
// call can cost more than a read: several threads would wait for one counter, and even one thread
// for its own reads to end. So one thread at a time, the table's owner, counts at once unless it
// repeats itself for long, and the others count in lots.
#pragma once

#include "l2vpn_db/l2vpn_db.h"
#include "platform/memory/words.h"

namespace l2vpn::platform {

class Events {
public:
    /// Counts an event of the table that the descriptor names.
    void count(const L2vpnDbTblIntf &descriptor, std::uint32_t event);

private:
    /// The number of a thread, 0 for none. A thread that has ended is none.
    std::uint32_t owner_ = 0;
};

} // namespace l2vpn::platform
