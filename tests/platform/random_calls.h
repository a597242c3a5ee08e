// SPDX-License-Identifier: MIT
// Makes random calls on one table and compares each result with a plain model: the records, which
// of them share a key value, and what each open iterator has yet to deliver.
#pragma once

#include <array>
#include <random>
#include <unordered_set>

#include "l2vpn_db/memory_store.h"
#include "tests/platform/test_records.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {

using Counters = std::array<std::uint32_t, L2VPN_DB_STAT_COUNT>;

/// The records that one player writes and deletes: every `step`th, from `first`. With a step above
/// 1, players on other threads own the other records.
struct Share {
    std::uint32_t first = 0;
    std::uint32_t step = 1;
};

class RandomCalls {
public:
    RandomCalls(const TypedTable &table, const TestRecords &pool, Share share, std::uint32_t seed);

    /// From now on, each call is first made with its allocations failing, one after the other; the
    /// table must stay unchanged. Requires the memory service.
    void inject_allocation_failures() { failing_ = true; }

    /// Writes nearly all records of the share, with a random call after each.
    void fill();
    /// Replaces the contents of every record of the share, by Write and by Update.
    void change_all(const TestRecords &contents);
    /// `growth`: the percentage of writes among writes and deletes.
    void play(std::uint32_t calls, std::uint32_t growth);
    /// Reads, counts and iterates over all records of the share.
    void check_everything();
    /// Drains and releases the open iterators and deletes the records.
    void finish();

    /// The expected events of all calls.
    [[nodiscard]] const Counters &events() const { return events_; }
    [[nodiscard]] std::uint32_t failures() const { return events_[L2VPN_STORE_STAT_NO_MEMORY]; }
    [[nodiscard]] std::size_t max_records() const { return max_records_; }
    [[nodiscard]] std::size_t longest_chain() const { return longest_chain_; }

private:
    static constexpr std::size_t whole_table = SIZE_MAX;
    static constexpr std::size_t max_open = 12;

    using Numbers = std::unordered_set<std::uint32_t>;

    struct Open {
        L2vpnDbIter *handle;
        std::size_t key; ///< or whole_table
        Bytes value;
        std::vector<bool> due; ///< the records of the share that it must yet deliver
        std::uint32_t due_count;
        std::vector<bool> seen;
        bool ended;
    };

    [[nodiscard]] bool alone() const { return share_.step == 1; }
    [[nodiscard]] bool own(std::uint32_t number) const {
        return number % share_.step == share_.first;
    }
    [[nodiscard]] std::uint32_t any();
    [[nodiscard]] bool is_held(std::uint32_t number) const { return !held_[number].empty(); }
    [[nodiscard]] Bytes random_version(std::uint32_t number);
    [[nodiscard]] const Numbers &chain(std::size_t key, const Bytes &value) const;
    void expect_event(L2vpnStoreStat event) { ++events_[event]; }

    template <class Call>
    std::uint32_t with_injected_failures(Call call);
    template <class Call>
    std::uint32_t repeat_until_memory(std::uint32_t successes, Call call);

    void call();
    void write(std::uint32_t number, Bytes stored);
    void write_if(std::uint32_t number, Bytes stored);
    void remove(std::uint32_t number);
    void update(std::uint32_t number);
    void update(std::uint32_t number, Bytes contents, std::uint32_t result);
    void read(std::uint32_t number);
    void read_by(std::size_t key, const Bytes &value);
    void read_many();
    void expect_read(std::size_t key, const Bytes &value, std::uint32_t code, const Bytes &buffer);
    void count();
    void count_by(std::size_t key, const Bytes &value);
    void open(std::size_t key, const Bytes &value);
    void open_some();
    /// Returns false at the end.
    bool advance(Open &iterator);
    bool advance_by_many(Open &iterator);
    void expect_end(Open &iterator, std::uint32_t code);
    bool expect_next(Open &iterator, const Bytes &stored);
    void release(std::size_t at);
    void compare_read_with_iterator(std::size_t key, const Bytes &value);

    void put(std::uint32_t number, Bytes stored);
    void unlink(std::uint32_t number, std::size_t key);
    void clear_due(std::uint32_t number, std::size_t key);
    /// Returns the record's number, if it is one of the pool.
    std::optional<std::uint32_t> expect_delivered(const Bytes &stored, std::size_t key,
                                                  const Bytes &value);

    const TypedTable &table_;
    const TestRecords &pool_;
    const std::vector<Key> &keys_;
    const Share share_;
    std::mt19937 random_;
    std::uint32_t growth_ = 50;
    bool failing_ = false;

    std::vector<Bytes> held_; ///< by number; empty if the table has no such record
    std::size_t count_ = 0;
    std::vector<ByBytes<Numbers>> chains_; ///< by key
    std::vector<Open> open_;
    Counters events_{};
    std::size_t max_records_ = 0;
    std::size_t longest_chain_ = 0;
};

} // namespace l2vpn::test
