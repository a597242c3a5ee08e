// SPDX-License-Identifier: MIT
// The pseudowires in a Redis server of their own, over a Unix socket: a string per record, and a
// set of primary keys per value of a secondary key. Nothing is saved.
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

    /// A transaction that inserts the record under its keys.
    void queue_insert(const PackedRecord &record);
    /// Sends the insertions that wait, and waits until all have been made.
    void finish();

    void queue_read(const PackedKey &key);
    /// Copies the record that the first waiting read has found.
    void finish_read(char *record);

private:
    void expect(bool fine) const;
    redisReply *reply();

    int server_;
    redisContext *connection_ = nullptr;
    std::size_t waiting_ = 0; ///< replies
};

} // namespace l2vpn::bench
