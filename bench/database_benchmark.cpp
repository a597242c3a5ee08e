// SPDX-License-Identifier: MIT
// The same work in LMDB, SQLite and Redis: reading by primary key, inserting under six keys. A call
// of the store takes effect immediately, so each read and insertion is one transaction; batches in
// one transaction or pipeline are measured as well.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "bench/benchmarks.h"
#include "bench/lmdb_table.h"
#include "bench/redis_table.h"
#include "bench/reference_calls.h"
#include "bench/sample_records.h"
#include "bench/slice.h"
#include "bench/sqlite_table.h"
#include "l2vpn_db/platform.h"

namespace l2vpn::bench {

namespace {

/// Operations in a transaction or pipeline, and in an insert slice.
constexpr std::size_t batch = 100;
/// Insertions grow the table, so that their number is limited.
constexpr std::size_t max_insert_slices = 51;
/// New records for the insertions of one kind: one at a time (or typed), and batched.
constexpr std::uint32_t inserts = max_insert_slices * batch;

struct Databases {
    explicit Databases(std::uint32_t size) : sqlite(size), numbers(random_order(size)) {
        fill_table(size);
        for (LmdbTable *table : {&lmdb, &write_map}) {
            table->begin();
            for (std::uint32_t i = 0; i < size; ++i)
                table->insert(packed(pseudowire(i)));
            table->commit();
        }
        for (std::uint32_t i = 0; i < size; ++i) {
            redis.queue_insert(packed(pseudowire(i)));
            if (i % batch == 0)
                redis.finish();
        }
        redis.finish();
        for (const std::uint32_t i : numbers)
            keys.push_back(packed(pseudowire(i)).keys[0]);
        for (const std::uint32_t i : shuffled(size, size + 2 * inserts)) {
            added.push_back(pseudowire(i));
            added_packed.push_back(packed(added.back()));
        }
    }

    LmdbTable lmdb{0};
    LmdbTable write_map{MDB_WRITEMAP}; ///< inserts faster, without protection against stray writes
    SqliteTable sqlite;
    RedisTable redis;
    std::vector<std::uint32_t> numbers; ///< of the pseudowires to read
    std::vector<PackedKey> keys;        ///< of the same
    std::vector<L2vpnVplsPw> added;
    std::vector<PackedRecord> added_packed;
    char record[stored_length];
};

using Shared = std::shared_ptr<Databases>;

/// Slices that insert the next batch of new records each: insert(from, to). A batch may exceed the
/// duration of other slices: the periodic work of a database belongs to all insertions.
template <auto Clock = processor_time, class Insert>
Slice insertion(std::size_t first, Insert insert) {
    return [first, insert]() mutable {
        const double start = Clock();
        insert(first, first + batch);
        first += batch;
        return (Clock() - start) / batch;
    };
}

/// Slices of batched reads: begin(), read(n) for each of a batch, end().
template <auto Clock = processor_time, class Begin, class Read, class End>
Slice batched_reads(Begin begin, Read read, End end) {
    return [slice = repeated<Clock>([=](std::size_t n) {
                begin();
                for (std::size_t i = 0; i < batch; ++i)
                    read(n * batch + i);
                end();
            })] { return slice() / batch; };
}

void add_store(Slices &slices, const Shared &all) {
    static std::uint32_t key_id[4] = {0x0001'0009};
    slices["read: store"] = repeated([all](std::size_t n) {
        const PackedKey &key = all->keys[n % order_length];
        const L2vpnDbKeyData request{key_id, sizeof key_id, 0, key.bytes, key.length, 0};
        L2vpnDbRecData place{all->record, stored_length, 0};
        check(DAL_VELD_Read(&g_l2vpnDbModuleIntf, &g_l2vpnL2vpnVplsPwIntf, &request, &place));
    });
    slices["read: typed"] = repeated([all, record = pseudowire(0)](std::size_t n) mutable {
        record.pwTunnelId = all->numbers[n % order_length];
        check(L2VPN_DB_L2vpnVplsPwRead(&record));
    });
    slices["insert: store"] = insertion(0, [all](std::size_t n, std::size_t end) {
        for (; n < end; ++n) {
            const L2vpnDbRecData record{all->added_packed[n].bytes, stored_length, 0};
            check(DAL_VELD_Write(&g_l2vpnDbModuleIntf, &g_l2vpnL2vpnVplsPwIntf, &record));
        }
    });
    slices["insert: typed"] = insertion(inserts, [all](std::size_t n, std::size_t end) {
        for (; n < end; ++n)
            check(L2VPN_DB_L2vpnVplsPwWrite(&all->added[n]));
    });
    slices["insert: empty call"] = insertion(0, [all](std::size_t n, std::size_t end) {
        for (; n < end; ++n)
            empty_call(all->record, all->added_packed[n].bytes, stored_length);
    });
}

void add_lmdb(Slices &slices, const Shared &all, LmdbTable &table, const std::string &name) {
    const auto read = [all, &table](std::size_t n) {
        table.read(all->keys[n % order_length], all->record);
    };
    const auto begin = [&table] { table.begin_reading(); };
    const auto end = [&table] { table.end_reading(); };
    slices["read: " + name] = repeated([=](std::size_t n) {
        begin();
        read(n);
        end();
    });
    slices["read: " + name + ", together"] = batched_reads(begin, read, end);
    slices["insert: " + name] = insertion(0, [all, &table](std::size_t n, std::size_t to) {
        for (; n < to; ++n) {
            table.begin();
            table.insert(all->added_packed[n]);
            table.commit();
        }
    });
    slices["insert: " + name + ", together"] =
        insertion(inserts, [all, &table](std::size_t n, std::size_t to) {
            table.begin();
            for (; n < to; ++n)
                table.insert(all->added_packed[n]);
            table.commit();
        });
}

void add_sqlite(Slices &slices, const Shared &all) {
    SqliteTable &table = all->sqlite;
    const auto read = [all, &table](std::size_t n) {
        table.read(1, all->numbers[n % order_length], 3, all->record);
    };
    const auto begin = [&table] { table.begin(); };
    const auto commit = [&table] { table.commit(); };
    slices["read: SQLite"] = repeated(read);
    slices["read: SQLite, together"] = batched_reads(begin, read, commit);
    const auto insert = [all, &table](std::size_t n, std::size_t end) {
        for (; n < end; ++n)
            table.insert(all->added[n], all->added_packed[n]);
    };
    slices["insert: SQLite"] = insertion(0, insert);
    slices["insert: SQLite, together"] = insertion(inserts, [=](std::size_t n, std::size_t end) {
        begin();
        insert(n, end);
        commit();
    });
}

/// Wall time, because the server does the work.
void add_redis(Slices &slices, const Shared &all) {
    RedisTable &table = all->redis;
    slices["read: Redis"] = repeated<wall_time>([all, &table](std::size_t n) {
        table.queue_read(all->keys[n % order_length]);
        table.finish_read(all->record);
    });
    slices["read: Redis, together"] = batched_reads<wall_time>(
        [] {}, [all, &table](std::size_t n) { table.queue_read(all->keys[n % order_length]); },
        [all, &table] {
            for (std::size_t i = 0; i < batch; ++i)
                table.finish_read(all->record);
        });
    slices["insert: Redis"] =
        insertion<wall_time>(0, [all, &table](std::size_t n, std::size_t end) {
            for (; n < end; ++n) {
                table.queue_insert(all->added_packed[n]);
                table.finish();
            }
        });
    slices["insert: Redis, together"] =
        insertion<wall_time>(inserts, [all, &table](std::size_t n, std::size_t end) {
            for (; n < end; ++n)
                table.queue_insert(all->added_packed[n]);
            table.finish();
        });
}

Slices set_up(std::uint32_t size) {
    const auto all = std::make_shared<Databases>(size);
    Slices slices;
    add_store(slices, all);
    add_lmdb(slices, all, all->lmdb, "LMDB");
    add_lmdb(slices, all, all->write_map, "LMDB, MDB_WRITEMAP");
    add_sqlite(slices, all);
    add_redis(slices, all);
    slices["read: empty call"] = empty_slice();
    return slices;
}

} // namespace

void measure_databases(const Scale &scale) {
    const struct {
        const char *name;
        Goal read;
        Goal insert;
    } others[] = {{"LMDB", at_least(4), at_least(10)},
                  {"SQLite", at_least(10), at_least(10)},
                  {"Redis", information, information},
                  {"LMDB, MDB_WRITEMAP", information, information},
                  {"LMDB, together", information, information},
                  {"SQLite, together", information, information},
                  {"Redis, together", information, information},
                  {"typed", information, information}};
    for (const std::uint32_t size : scale.sizes) {
        Worker worker([size] { return set_up(size); });
        std::vector<Slice> inserting;
        for (const auto &other : others) {
            const std::string read = std::string("read: ") + other.name;
            report({read, "read: store", size,
                    compare(worker[read], worker["read: store"], scale.slices,
                            worker["read: empty call"]),
                    other.read});
            inserting.push_back(worker[std::string("insert: ") + other.name]);
        }
        const std::vector<Comparison> insertions =
            compare_each(inserting, worker["insert: store"],
                         std::min(scale.slices, max_insert_slices), worker["insert: empty call"]);
        for (std::size_t n = 0; n < insertions.size(); ++n)
            report({std::string("insert: ") + others[n].name, "insert: store", size, insertions[n],
                    others[n].insert});
    }
}

} // namespace l2vpn::bench
