// SPDX-License-Identifier: MIT
// The child of fork() in a program with threads: a copy of the store that works.
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

/// Exits the child unless `holds`.
void require(bool holds, const std::string &table, const char *operation) {
    if (holds)
        return;
    static_cast<void>(!write(STDERR_FILENO, table.data(), table.size()));
    static_cast<void>(!write(STDERR_FILENO, operation, std::strlen(operation)));
    _exit(1);
}

/// Runs `body` in a child, for at most a minute. Returns whether it returned.
template <class Body>
bool succeeds_in_child(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        body();
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Calls each operation of the table once. No other thread may use the record's key.
void call_every_operation(const TypedTable &table, const Bytes &record) {
    const auto require_ok = [&](std::uint32_t code, const char *operation) {
        require(code == 0, table.name, operation);
    };
    const auto iterate = [&](L2vpnDbIter *iterator, const char *operation) {
        require(iterator != nullptr, table.name, operation);
        Bytes found = record;
        bool delivered = false;
        while (table.get_next(iterator, found.data()) == 0)
            delivered |= found == record;
        require(delivered, table.name, operation);
        require_ok(table.release_iter(iterator), operation);
    };
    require_ok(table.glb_init(), ": GlbInit\n");
    require_ok(table.write(record.data()), ": Write\n");
    Bytes found = record;
    require_ok(table.read(found.data()), ": Read\n");
    if (facts(table.name).find("batchVersion") != nullptr) {
        const std::uint32_t id = facts(table.name).find("batchVersion")->id;
        require_ok(table.update_field(record.data(), id), ": UpdateField\n");
    }
    iterate(table.create_iter(0, nullptr), ": iterator over the table\n");
    iterate(table.create_fast_pri_iter(record.data()), ": fast iterator\n");
    std::uint32_t count = 0;
    for (const KeyFunctions &key : table.keys) {
        iterate(key.create_iter(record.data()), ": iterator over a key\n");
        require_ok(key.count_by(record.data(), &count), ": CountByKey\n");
        require(count >= 1, table.name, ": result of CountByKey\n");
    }
    require_ok(table.count(&count), ": Count\n");
    require_ok(table.remove(record.data()), ": Delete\n");
}

/// A record whose primary key differs from those of the other threads' records.
Bytes record_of_thread(const TypedTable &table, std::uint8_t thread) {
    Bytes record(facts(table.name).record_size);
    for (const Field &member : facts(table.name).keys[0].members)
        record[member.offset] = thread;
    return record;
}

/// Runs threads that call `body` with their numbers, from 1, again and again.
class Busy {
public:
    template <class Body>
    Busy(std::uint8_t threads, Body body) {
        for (std::uint8_t i = 1; i <= threads; ++i)
            threads_.emplace_back([this, body, i] {
                while (!done_)
                    body(i);
            });
    }
    ~Busy() { done_ = true; }
    Busy(const Busy &) = delete;
    Busy &operator=(const Busy &) = delete;

private:
    std::atomic<bool> done_{false};
    std::vector<std::jthread> threads_;
};

constexpr std::uint8_t busy_threads = 4;

// The first children start while the tables are being created.
TEST(FreshStoreFork, ChildOfABusyProcessCallsEveryOperation) {
    const Busy busy(busy_threads, [](std::uint8_t thread) {
        for (const TypedTable &table : typed_tables)
            call_every_operation(table, record_of_thread(table, thread));
    });
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(succeeds_in_child([] {
            for (const TypedTable &table : typed_tables)
                call_every_operation(table, record_of_thread(table, busy_threads + 1));
        })) << "child "
            << i;
}

// Threads in the library's own critical sections, which are short.
TEST(FreshStoreFork, ChildHasFreeControlBlocks) {
    const Busy busy(busy_threads, [](std::uint8_t thread) {
        const TypedTable &table = typed_tables.front();
        static_cast<void>(table.glb_init());
        const Bytes record = record_of_thread(table, thread);
        table.release_iter(table.create_fast_pri_iter(record.data()));
    });
    for (int i = 0; i < 300; ++i)
        ASSERT_TRUE(succeeds_in_child([] {
            const TypedTable &table = typed_tables.front();
            call_every_operation(table, record_of_thread(table, busy_threads + 1));
        })) << "child "
            << i;
}

/// Forks in a process in which the store is unused.
class FreshStoreForkOfATable : public StoreTest {
protected:
    [[nodiscard]] const TypedTable &other() const {
        return typed_tables[&table_ == &typed_tables[0] ? 1 : 0];
    }
};
bool is_first_table(const Facts &table) {
    return table.name == typed_table_names().front();
}
L2VPN_TEST_TYPED_TABLES(FreshStoreForkOfATable, is_first_table);

TEST_P(FreshStoreForkOfATable, ChildHasACopyWithTheOpenIterators) {
    const Busy busy(2, [this](std::uint8_t thread) {
        call_every_operation(other(), record_of_thread(other(), thread));
    });
    for (std::uint8_t i = 0; i < 10; ++i)
        ASSERT_EQ(write(record_of_thread(table_, i)), 0U);
    L2vpnDbIter *const iterator = open();
    ASSERT_TRUE(next(iterator).has_value());
    EXPECT_TRUE(succeeds_in_child([&] {
        Bytes buffer(facts_.record_size);
        std::uint32_t delivered = 1;
        while (table_.get_next(iterator, buffer.data()) == 0) {
            ++delivered;
            require(table_.remove(buffer.data()) == 0, table_.name, ": Delete\n");
        }
        require(delivered == 10, table_.name, ": GetNext\n");
        require(table_.release_iter(iterator) == 0, table_.name, ": ReleaseIter\n");
    }));
    EXPECT_EQ(rest_of(iterator).size(), 9U);
    EXPECT_EQ(count(), 10U);
}

// A thread that exists in the parent only owns no table in the child.
TEST_P(FreshStoreForkOfATable, ChildsEventsAreReported) {
    std::atomic<bool> owned{false};
    std::atomic<bool> done{false};
    std::uint32_t result = 0;
    const auto count_records = [&] {
        return DAL_VELD_Count(module_, intf_, &result) == 0
                   ? table_.get_stat(L2VPN_STORE_STAT_COUNTED)
                   : 0;
    };
    std::jthread owner([&] {
        std::uint32_t other_result = 0;
        static_cast<void>(DAL_VELD_Count(module_, intf_, &other_result));
        owned = true;
        while (!done)
            std::this_thread::yield();
    });
    while (!owned)
        std::this_thread::yield();
    ASSERT_EQ(count_records(), 1U);
    ASSERT_EQ(count_records(), 1U) << "the batches of other threads are not reported yet";
    EXPECT_TRUE(succeeds_in_child([&] {
        require(count_records() == 4, table_.name, ": the batch in the child\n");
        require(count_records() == 5, table_.name, ": an event of the child\n");
        std::exit(0); // runs the exit handlers
    }));
    EXPECT_EQ(count_records(), 1U);
    done = true;
    owner.join();
    EXPECT_EQ(count_records(), 5U);
}

std::mutex service_mutex;

void *allocate_locked(std::size_t size) {
    const std::lock_guard lock(service_mutex);
    std::this_thread::yield();
    return std::malloc(size);
}
void release_locked(void *memory) {
    const std::lock_guard lock(service_mutex);
    std::free(memory);
}

// Its handlers lock after the store's, as its functions do.
TEST_P(FreshStoreForkOfATable, MemoryServiceMayHaveForkHandlers) {
    ASSERT_EQ(pthread_atfork([] { service_mutex.lock(); }, [] { service_mutex.unlock(); },
                             [] { service_mutex.unlock(); }),
              0);
    const L2vpnDbMemIntf service = l2vpn_store_memory_service(allocate_locked, release_locked);
    L2VPN_DB_MemIntfReg(&service);
    std::atomic<std::uint32_t> written{0};
    const Busy busy(2, [&](std::uint8_t /*thread*/) {
        const Bytes added = record(++written);
        static_cast<void>(table_.write(added.data()));
    });
    while (written < 100)
        std::this_thread::yield();
    alarm(60);
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(succeeds_in_child([&] {
            std::uint32_t result = 0;
            require(table_.count(&result) == 0, table_.name, ": Count\n");
            call_every_operation(other(), record_of_thread(other(), 9));
        })) << "child "
            << i;
    alarm(0);
}

TEST_P(FreshStoreForkOfATable, MemoryServiceMayForkAndExec) {
    static bool in_parent = false;
    register_memory_service();
    set_allocation_hook([] {
        set_allocation_hook(nullptr);
        in_parent = succeeds_in_child([] {});
    });
    alarm(60);
    EXPECT_EQ(count(), 0U);
    alarm(0);
    EXPECT_TRUE(in_parent);
}

// Handlers that are registered before the first use run while the store is locked.
TEST_P(FreshStoreForkOfATable, ForkHandlersMayNotUseTheLockedStore) {
    static const TypedTable *table;
    static std::uint32_t before;
    static std::uint32_t after;
    static const auto write_record = [] {
        return table->write(record_of_thread(*table, 1).data());
    };
    table = &table_;
    ASSERT_EQ(pthread_atfork([] { before = write_record(); }, [] { after = write_record(); },
                             [] { after = write_record(); }),
              0);
    EXPECT_EQ(count(), 0U);
    alarm(60);
    EXPECT_TRUE(succeeds_in_child([] { require(after == 0, table->name, ": Write\n"); }));
    alarm(0);
    EXPECT_EQ(before, L2VPN_STORE_REENTERED);
    EXPECT_EQ(after, 0U);
}

TEST_P(FreshStoreForkOfATable, ChildMayFork) {
    const Busy busy(2, [this](std::uint8_t thread) {
        call_every_operation(table_, record_of_thread(table_, thread));
    });
    EXPECT_TRUE(succeeds_in_child([this] {
        require(succeeds_in_child(
                    [this] { call_every_operation(table_, record_of_thread(table_, 9)); }),
                table_.name, ": fork\n");
        call_every_operation(table_, record_of_thread(table_, 9));
    }));
}

} // namespace
} // namespace l2vpn::test
