// SPDX-License-Identifier: MIT
// The pseudowires in a dedicated Redis server over a Unix socket: a string per record, and a set of
// primary keys per value of a secondary key. Persistence is off.
#pragma once

#include <string>

#include <hiredis/hiredis.h>

#include "bench/packed_record.h"

namespace l2vpn::bench {

class RedisTable {
public:
    RedisTable();
    ~RedisTable();
    RedisTable(const RedisTable &) = delete;
    RedisTable &operator=(const RedisTable &) = delete;

    /// Queues a transaction that inserts the record under its keys.
    void queue_insert(const PackedRecord &record);
    /// Sends the queued insertions and waits for their replies.
    void finish();

    void queue_read(const PackedKey &key);
    /// Waits for the oldest queued read and copies its record.
    void finish_read(char *record);

private:
    void expect(bool ok) const;
    redisReply *reply();

    int server_;
    redisContext *connection_ = nullptr;
    std::size_t pending_ = 0; ///< replies
};

} // namespace l2vpn::bench
