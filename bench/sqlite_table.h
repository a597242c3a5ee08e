// SPDX-License-Identifier: MIT
// The pseudowires in an SQLite database in memory: the keys' members as columns with an index per
// key, the stored record as a blob.
#pragma once

#include <sqlite3.h>

#include "bench/packed_record.h"

namespace l2vpn::bench {

class SqliteTable {
public:
    /// Creates the table and inserts pseudowires 0 to `size`.
    explicit SqliteTable(std::uint32_t size);
    ~SqliteTable();
    SqliteTable(const SqliteTable &) = delete;
    SqliteTable &operator=(const SqliteTable &) = delete;

    /// Begins and commits a transaction; outside of one, each statement is a transaction.
    void begin();
    void commit();

    void insert(const L2vpnVplsPw &record, const PackedRecord &bytes);
    /// Copies the record with the key.
    void read(std::uint32_t vr_index, std::uint32_t tunnel_id, std::uint32_t tunnel_type,
              char *record);

private:
    void execute(const char *statement);
    sqlite3_stmt *prepare(const char *statement);
    void expect(int result, int wanted);

    sqlite3 *database_ = nullptr;
    sqlite3_stmt *insert_ = nullptr;
    sqlite3_stmt *read_ = nullptr;
};

} // namespace l2vpn::bench
