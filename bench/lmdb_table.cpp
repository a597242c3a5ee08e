// SPDX-License-Identifier: MIT
#include "bench/lmdb_table.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace l2vpn::bench {

namespace {

constexpr std::size_t map_size = std::size_t{8} << 30; // address space, used as needed

void expect(int result) {
    if (result != MDB_SUCCESS)
        throw std::runtime_error(std::string("LMDB: ") + mdb_strerror(result));
}

MDB_val value(const PackedKey &key) {
    return {key.length, const_cast<char *>(key.bytes)};
}

} // namespace

LmdbTable::LmdbTable(unsigned flags) {
    char folder[] = "/dev/shm/l2vpn_bench.XXXXXX";
    if (mkdtemp(folder) == nullptr)
        throw std::runtime_error("cannot write to /dev/shm");
    expect(mdb_env_create(&environment_));
    expect(mdb_env_set_mapsize(environment_, map_size));
    expect(mdb_env_set_maxdbs(environment_, 6));
    const int opened = mdb_env_open(environment_, folder, MDB_NOSYNC | MDB_NOTLS | flags, 0600);
    // The files exist until they are closed.
    for (const char *name : {"/data.mdb", "/lock.mdb"})
        unlink((std::string(folder) + name).c_str());
    rmdir(folder);
    expect(opened);
    begin();
    for (int k = 0; k < 6; ++k)
        expect(mdb_dbi_open(writing_, std::to_string(k).c_str(),
                            MDB_CREATE | (k == 0 ? 0U : MDB_DUPSORT | MDB_DUPFIXED), &keys_[k]));
    commit();
    expect(mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &reading_));
    mdb_txn_reset(reading_);
}

LmdbTable::~LmdbTable() {
    mdb_txn_abort(reading_);
    mdb_env_close(environment_);
}

void LmdbTable::begin() {
    expect(mdb_txn_begin(environment_, nullptr, 0, &writing_));
}

void LmdbTable::commit() {
    expect(mdb_txn_commit(writing_));
}

void LmdbTable::begin_reading() {
    expect(mdb_txn_renew(reading_));
}

void LmdbTable::end_reading() {
    mdb_txn_reset(reading_);
}

void LmdbTable::insert(const PackedRecord &record) {
    MDB_val primary = value(record.keys[0]);
    MDB_val data{stored_length, const_cast<char *>(record.bytes)};
    expect(mdb_put(writing_, keys_[0], &primary, &data, 0));
    for (int k = 1; k < 6; ++k) {
        MDB_val key = value(record.keys[k]);
        expect(mdb_put(writing_, keys_[k], &key, &primary, 0));
    }
}

void LmdbTable::read(PackedKey key, char *record) {
    MDB_val wanted = value(key);
    MDB_val found;
    expect(mdb_get(reading_, keys_[0], &wanted, &found));
    std::memcpy(record, found.mv_data, stored_length);
}

} // namespace l2vpn::bench
