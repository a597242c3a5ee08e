// SPDX-License-Identifier: MIT
// The same work in LMDB and SQLite: reading by primary key, inserting under six keys. Each call of
// the store is a transaction of its own, and so is each read and insertion of theirs; what they do
// in one transaction per round is shown beside it.
#include <memory>
#include <string>

#include "bench/lmdb_table.h"
#include "bench/records.h"
#include "bench/sections.h"
#include "bench/sqlite_table.h"
#include "bench/timed.h"
#include "l2vpn_db/platform.h"

namespace l2vpn::bench {

namespace {

constexpr std::uint32_t insertions = 100; ///< per round
constexpr std::size_t reads = 4000;       ///< per round
constexpr int insert_rounds = 20;

struct Databases {
    explicit Databases(std::uint32_t size) : sqlite(size), numbers(random_order(size)) {
        for (LmdbTable *table : {&lmdb, &write_map}) {
            table->begin();
            for (std::uint32_t i = 0; i < size; ++i)
                table->insert(packed(pseudowire(i)));
            table->commit();
        }
        for (const std::uint32_t i : numbers)
            keys.push_back(packed(pseudowire(i)).keys[0]);
        // Two ways of inserting, each with records of its own.
        for (const std::uint32_t i : shuffled(size, size + 2 * insert_rounds * insertions)) {
            added.push_back(pseudowire(i));
            added_packed.push_back(packed(added.back()));
        }
    }

    LmdbTable lmdb{0};
    LmdbTable write_map{MDB_WRITEMAP}; ///< which inserts faster, at the price of safety
    SqliteTable sqlite;
    std::vector<std::uint32_t> numbers; ///< of the pseudowires to be read
    std::vector<PackedKey> keys;        ///< theirs
    std::vector<L2vpnVplsPw> added;
    std::vector<PackedRecord> added_packed;
    char record[stored_length];
};

using Shared = std::shared_ptr<Databases>;

/// A round that inserts the next lot of added records each time: insert(from, to).
template <class Insert>
Round insertion(std::size_t first, Insert insert) {
    return [first, insert]() mutable {
        const double start = processor_time();
        insert(first, first + insertions);
        first += insertions;
        return (processor_time() - start) / insertions;
    };
}

/// The same operations between begin() and end().
template <class Begin, class End>
Round enclosed(Begin begin, const Round &round, End end) {
    return [=] {
        begin();
        const double result = round();
        end();
        return result;
    };
}

void add_store(Rounds &rounds, const Shared &all) {
    static std::uint32_t key_id[4] = {0x0001'0009};
    rounds["read ours"] = repeated(reads, [all](std::size_t n) {
        const PackedKey &key = all->keys[n % order_length];
        const L2vpnDbKeyData request{key_id, sizeof key_id, 0, key.bytes, key.length, 0};
        L2vpnDbRecData place{all->record, stored_length, 0};
        check(DAL_VELD_Read(&g_l2vpnDbModuleIntf, &g_l2vpnL2vpnVplsPwIntf, &request, &place));
    });
    rounds["read typed, database"] =
        repeated(reads, [all, record = pseudowire(0)](std::size_t n) mutable {
            record.pwTunnelId = all->numbers[n % order_length];
            check(L2VPN_DB_L2vpnVplsPwRead(&record));
        });
    rounds["insert ours"] = insertion(0, [all](std::size_t n, std::size_t end) {
        for (; n < end; ++n) {
            const L2vpnDbRecData record{all->added_packed[n].bytes, stored_length, 0};
            check(DAL_VELD_Write(&g_l2vpnDbModuleIntf, &g_l2vpnL2vpnVplsPwIntf, &record));
        }
    });
    rounds["insert typed, database"] =
        insertion(all->added.size() / 2, [all](std::size_t n, std::size_t end) {
            for (; n < end; ++n)
                check(L2VPN_DB_L2vpnVplsPwWrite(&all->added[n]));
        });
}

void add_lmdb(Rounds &rounds, const Shared &all, LmdbTable &table, const std::string &name) {
    rounds["read " + name] = repeated(reads, [all, &table](std::size_t n) {
        table.begin_reading();
        table.read(all->keys[n % order_length], all->record);
        table.end_reading();
    });
    rounds["read " + name + ", together"] =
        enclosed([&table] { table.begin_reading(); },
                 repeated(reads,
                          [all, &table](std::size_t n) {
                              table.read(all->keys[n % order_length], all->record);
                          }),
                 [&table] { table.end_reading(); });
    rounds["insert " + name] = insertion(0, [all, &table](std::size_t n, std::size_t end) {
        for (; n < end; ++n) {
            table.begin();
            table.insert(all->added_packed[n]);
            table.commit();
        }
    });
    rounds["insert " + name + ", together"] =
        insertion(all->added.size() / 2, [all, &table](std::size_t n, std::size_t end) {
            table.begin();
            for (; n < end; ++n)
                table.insert(all->added_packed[n]);
            table.commit();
        });
}

void add_sqlite(Rounds &rounds, const Shared &all) {
    SqliteTable &table = all->sqlite;
    const auto read = [all, &table](std::size_t n) {
        table.read(1, all->numbers[n % order_length], 3, all->record);
    };
    rounds["read SQLite"] = repeated(reads, read);
    rounds["read SQLite, together"] =
        enclosed([&table] { table.begin(); }, repeated(reads, read), [&table] { table.commit(); });
    const auto insert = [all, &table](std::size_t n, std::size_t end) {
        for (; n < end; ++n)
            table.insert(all->added[n], all->added_packed[n]);
    };
    rounds["insert SQLite"] = insertion(0, insert);
    rounds["insert SQLite, together"] =
        insertion(all->added.size() / 2, [&table, insert](std::size_t n, std::size_t end) {
            table.begin();
            insert(n, end);
            table.commit();
        });
}

} // namespace

Rounds database_rounds(std::uint32_t size) {
    const auto all = std::make_shared<Databases>(size);
    Rounds rounds;
    add_store(rounds, all);
    add_lmdb(rounds, all, all->lmdb, "LMDB");
    add_lmdb(rounds, all, all->write_map, "LMDB, WRITEMAP");
    add_sqlite(rounds, all);
    return rounds;
}

void measure_databases(const Scale &scale, Workers &workers, Report &report) {
    struct Case {
        std::string operation;
        int rounds;
        double lmdb; ///< the goals
        double sqlite;
    };
    const Case cases[] = {{"read", scale.rounds / 3, 4, 10}, {"insert", insert_rounds, 10, 10}};
    for (const Case &one : cases)
        for (const std::uint32_t size : scale.sizes) {
            Worker &worker = workers.at(size);
            std::vector<Variant> variants;
            for (const char *who : {" ours", " LMDB", " SQLite", " LMDB, together",
                                    " SQLite, together", " LMDB, WRITEMAP", " typed, database"})
                variants.push_back({&worker, one.operation + who});
            const std::vector<double> times = medians(variants, one.rounds);
            const auto add = [&](const std::string &what, std::size_t other, Goal goal) {
                report.add({what, size, times[other] / times[0], goal, {times[other], times[0]}});
            };
            add("LMDB's " + one.operation + " / ours", 1, at_least(one.lmdb));
            add("SQLite's " + one.operation + " / ours", 2, at_least(one.sqlite));
            add("LMDB's with MDB_WRITEMAP / ours", 5, information);
            add("LMDB's, many in a transaction / ours", 3, information);
            add("SQLite's, many in a transaction / ours", 4, information);
            add("typed " + one.operation + " / ours", 6, information);
        }
}

} // namespace l2vpn::bench
