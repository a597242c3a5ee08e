// SPDX-License-Identifier: MIT
#include "bench/sqlite_table.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace l2vpn::bench {

SqliteTable::SqliteTable(std::uint32_t size) {
    expect(sqlite3_open_v2(":memory:", &database_,
                           SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                           nullptr),
           SQLITE_OK);
    execute("create table pw (vrIndex integer, pwTunnelId integer, pwTunnelType integer,"
            " instanceId integer, l2vpnIid integer, groupId integer, srcPid integer, record blob)");
    insert_ = prepare("insert into pw values (?, ?, ?, ?, ?, ?, ?, ?)");
    begin();
    for (std::uint32_t i = 0; i < size; ++i) {
        const L2vpnVplsPw record = pseudowire(i);
        insert(record, packed(record));
    }
    commit();
    // Creating the indexes after the records is faster.
    execute("create unique index primary_key on pw (vrIndex, pwTunnelId, pwTunnelType);"
            "create index instance_key on pw (instanceId);"
            "create index l2vpniid_key on pw (l2vpnIid);"
            "create index vrIndex_key on pw (vrIndex, instanceId);"
            "create index smooth_hash_key on pw (vrIndex, srcPid);"
            "create index group_key on pw (vrIndex, instanceId, groupId)");
    read_ =
        prepare("select record from pw where vrIndex = ? and pwTunnelId = ? and pwTunnelType = ?");
}

SqliteTable::~SqliteTable() {
    sqlite3_finalize(insert_);
    sqlite3_finalize(read_);
    sqlite3_close(database_);
}

void SqliteTable::begin() {
    execute("begin");
}

void SqliteTable::commit() {
    execute("commit");
}

void SqliteTable::insert(const L2vpnVplsPw &record, const PackedRecord &bytes) {
    int column = 0;
    for (const std::uint32_t value :
         {record.vrIndex, record.pwTunnelId, std::uint32_t{record.pwTunnelType}, record.instanceId,
          record.l2vpnIid, record.groupId, record.srcPid})
        sqlite3_bind_int64(insert_, ++column, value);
    sqlite3_bind_blob(insert_, ++column, bytes.bytes, stored_length, SQLITE_STATIC);
    expect(sqlite3_step(insert_), SQLITE_DONE);
    sqlite3_reset(insert_);
}

void SqliteTable::read(std::uint32_t vr_index, std::uint32_t tunnel_id, std::uint32_t tunnel_type,
                       char *record) {
    sqlite3_bind_int64(read_, 1, vr_index);
    sqlite3_bind_int64(read_, 2, tunnel_id);
    sqlite3_bind_int64(read_, 3, tunnel_type);
    expect(sqlite3_step(read_), SQLITE_ROW);
    std::memcpy(record, sqlite3_column_blob(read_, 0), stored_length);
    sqlite3_reset(read_);
}

void SqliteTable::execute(const char *statement) {
    expect(sqlite3_exec(database_, statement, nullptr, nullptr, nullptr), SQLITE_OK);
}

sqlite3_stmt *SqliteTable::prepare(const char *statement) {
    sqlite3_stmt *prepared = nullptr;
    expect(
        sqlite3_prepare_v3(database_, statement, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr),
        SQLITE_OK);
    return prepared;
}

void SqliteTable::expect(int result, int wanted) {
    if (result != wanted)
        throw std::runtime_error(std::string("SQLite: ") + sqlite3_errmsg(database_));
}

} // namespace l2vpn::bench
