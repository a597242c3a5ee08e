// SPDX-License-Identifier: MIT
// Counts a table's events through the statistics function of its descriptor. Threads that all add
// to one counter at every call would contend for its cache line, which takes longer than a read. So
// one thread at a time, the table's owner, reports each event immediately; the others in batches.
#pragma once

#include "l2vpn_db/l2vpn_db.h"
#include "platform/store/shared_words.h"

namespace l2vpn::platform {

class Events {
public:
    /// Counts events of the table, all of one kind.
    void count(L2vpnDbStatFn stat, std::uint32_t event, std::uint32_t amount) {
        if (stat == nullptr)
            return;
        if (load(owner_) == unbatched_thread) [[likely]]
            stat(event, amount);
        else
            count_slow(stat, event, amount);
    }

    /// In the child of a fork: frees the tables that other threads of the parent own.
    static void forget_other_threads();

private:
    friend class EventThread;

    static constexpr std::uint32_t no_thread = UINT32_MAX;

    /// This thread's number while its batch is empty, otherwise 0.
    static inline constinit thread_local std::uint32_t unbatched_thread = 0;

    void count_slow(L2vpnDbStatFn stat, std::uint32_t event, std::uint32_t amount);

    /// The number of the thread that owns the table. A thread that has ended owns none.
    std::uint32_t owner_ = no_thread;
};

} // namespace l2vpn::platform
