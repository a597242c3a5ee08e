// SPDX-License-Identifier: MIT
// The pseudowires in LMDB: records by primary key, and one database of duplicates per secondary
// key, from the key to the primary keys. The files are in memory (/dev/shm) and never flushed.
#pragma once

#include <lmdb.h>

#include "bench/packed_record.h"

namespace l2vpn::bench {

class LmdbTable {
public:
    /// @param flags  of the environment, in addition to those that disable flushing
    explicit LmdbTable(unsigned flags);
    ~LmdbTable();
    LmdbTable(const LmdbTable &) = delete;
    LmdbTable &operator=(const LmdbTable &) = delete;

    /// Begins and ends a write transaction, or a read transaction.
    void begin();
    void commit();
    void begin_reading();
    void end_reading();

    void insert(const PackedRecord &record);
    /// Copies the record with the key.
    void read(PackedKey key, char *record);

private:
    MDB_env *environment_ = nullptr;
    MDB_dbi keys_[6] = {};
    MDB_txn *writing_ = nullptr;
    MDB_txn *reading_ = nullptr; ///< reset and renewed between reads, as LMDB recommends
};

} // namespace l2vpn::bench
