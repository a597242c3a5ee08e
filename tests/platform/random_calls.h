// SPDX-License-Identifier: MIT
// Plays random calls on one table and holds each result against a plain model: which records there
// are, which of them share a key, and what each open iterator still has to deliver.
#pragma once

#include <array>
#include <random>
#include <unordered_set>

#include "l2vpn_db/memory_store.h"
#include "tests/platform/test_records.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {

using Counters = std::array<std::uint32_t, L2VPN_DB_STAT_COUNT>;

/// The records that one player writes and deletes: every `step`th, from `first`. With a step of
/// more than 1 there are other players on other threads, whose records may be met.
struct Share {
    std::uint32_t first = 0;
    std::uint32_t step = 1;
};

class RandomCalls {
public:
    RandomCalls(const TypedTable &table, const TestRecords &pool, Share share, std::uint32_t seed);

    /// From now on each call is first made with its allocations failing, one after the other, which
    /// must leave everything as it was. Needs the memory service.
    void let_allocations_fail() { failing_ = true; }

    /// Writes nearly all records of the share, with a random call after each.
    void fill();
    /// Gives every record of the share new contents from another pool, by Write and by Update.
    void change_all(const TestRecords &contents);
    /// `growth`: of 100 chances to write or delete a record, how many are taken to write.
    void play(std::uint32_t calls, std::uint32_t growth);
    /// Reads, counts and iterates over everything that the share holds.
    void check_everything();
    /// Drains and releases the open iterators and deletes the records.
    void finish();

    /// The events that the calls must have counted.
    [[nodiscard]] const Counters &events() const { return events_; }
    [[nodiscard]] std::uint32_t failures() const { return events_[L2VPN_STORE_STAT_NO_MEMORY]; }
    [[nodiscard]] std::size_t most_records() const { return most_; }
    [[nodiscard]] std::size_t largest_group() const { return largest_; }

private:
    static constexpr std::size_t whole_table = SIZE_MAX;
    static constexpr std::size_t max_open = 12;

    using Numbers = std::unordered_set<std::uint32_t>;

    struct Open {
        L2vpnDbIter *handle;
        std::size_t key; ///< or whole_table
        Bytes value;
        std::vector<bool> due; ///< the records of the share that must still come
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
    [[nodiscard]] const Numbers &group(std::size_t key, const Bytes &value) const;
    void expect_event(L2vpnStoreStat event) { ++events_[event]; }

    template <class Call>
    std::uint32_t lasting(Call call);
    template <class Call>
    std::uint32_t failed(std::uint32_t successes, Call call);

    void call();
    void write(std::uint32_t number, Bytes stored);
    void remove(std::uint32_t number);
    void update(std::uint32_t number);
    void update(std::uint32_t number, Bytes contents, std::uint32_t result);
    void read(std::uint32_t number);
    void read_by(std::size_t key, const Bytes &value);
    void count();
    void count_by(std::size_t key, const Bytes &value);
    void open(std::size_t key, const Bytes &value);
    void open_some();
    /// False at the end.
    bool advance(Open &iterator);
    void release(std::size_t at);
    void look_at_first(std::size_t key, const Bytes &value);

    void put(std::uint32_t number, Bytes stored);
    void leave(std::uint32_t number, std::size_t key);
    void no_longer_due(std::uint32_t number, std::size_t key);
    /// The record's number, if it has one.
    std::optional<std::uint32_t> expect_delivered(const Bytes &stored, std::size_t key,
                                                  const Bytes &value);

    const TypedTable &table_;
    const TestRecords &pool_;
    const std::vector<Key> &keys_;
    const Share share_;
    std::mt19937 random_;
    std::uint32_t growth_ = 50;
    bool failing_ = false;

    std::vector<Bytes> held_; ///< by number; empty if there is none
    std::size_t count_ = 0;
    std::vector<ByBytes<Numbers>> groups_; ///< by key
    std::vector<Open> open_;
    Counters events_{};
    std::size_t most_ = 0;
    std::size_t largest_ = 0;
};

} // namespace l2vpn::test
