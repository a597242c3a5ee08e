// SPDX-License-Identifier: MIT
// The store's allocations: their source, and what happens if one fails.
#include <algorithm>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/platform/memory_service.h"
#include "tests/platform/store_test.h"

namespace l2vpn::test {
namespace {

class StoreMemory : public StoreTest {
protected:
    void SetUp() override { register_memory_service(); }
    void TearDown() override {
        stop_failing_allocations();
        StoreTest::TearDown();
    }
};
bool has_pool(const Facts &table) {
    return TestRecords::fits(table, 1100);
}
L2VPN_TEST_TYPED_TABLES(StoreMemory, has_pool);

/// Runs in a separate process, in which the table is unused.
class FreshStoreMemory : public StoreMemory {};
L2VPN_TEST_TYPED_TABLES(FreshStoreMemory, any_table);

TEST_P(StoreMemory, EveryAllocationMayFail) {
    const Counters before = counters();
    const TestRecords records(facts_, 1100, TestRecords::Spread::even);
    RandomCalls calls(table_, records, {}, 5);
    calls.inject_allocation_failures();
    calls.fill();
    calls.play(60, 50);
    calls.finish();
    expect_events(before, calls);
    // At least those of record chunks and record objects, each of them often.
    EXPECT_GE(calls.failures(), 1000U);
}

// One long chain is split into a thousand short ones, for which the indexes must grow.
TEST_P(StoreMemory, EveryAllocationOfChangedKeysMayFail) {
    const Counters before = counters();
    const TestRecords shared(facts_, 1000, TestRecords::Spread::skewed);
    const TestRecords distinct(facts_, 1000, TestRecords::Spread::distinct);
    RandomCalls calls(table_, shared, {}, 6);
    calls.change_all(shared);
    calls.inject_allocation_failures();
    calls.change_all(distinct);
    calls.check_everything();
    calls.finish();
    expect_events(before, calls);
}

TEST_P(FreshStoreMemory, FirstUseMayFail) {
    if (is_used(table_))
        GTEST_SKIP() << "the table has been used before";
    Bytes stored = packed(record(1));
    L2vpnDbRecData request = record_request(stored);
    const KeyRequest key(facts_.keys[0], record(1));
    const L2vpnDbUpdData update{nullptr, 0, 0, table_.set_fields};
    std::uint32_t count = 77;
    std::uint32_t failures = 0;
    const auto rejected = [&](std::uint32_t code) {
        EXPECT_EQ(code, L2VPN_STORE_NO_MEMORY);
        Counters expected{};
        expected[L2VPN_STORE_STAT_NO_MEMORY] = ++failures;
        EXPECT_EQ(counters(), expected);
    };
    const auto rejected_handle = [&](const L2vpnDbIter *handle) {
        rejected(handle == nullptr ? L2VPN_STORE_NO_MEMORY : 0);
    };
    const std::uint32_t attempts = 20;
    for (std::uint32_t i = 0; i < attempts; ++i) {
        const std::size_t held = bytes_held();
        fail_allocations_after(0);
        rejected(DAL_VELD_Write(module_, intf_, &request));
        fail_allocations_after(0);
        rejected(DAL_VELD_Read(module_, intf_, &key.request, &request));
        fail_allocations_after(0);
        rejected(DAL_VELD_Update(module_, intf_, &key.request, &request, &update));
        fail_allocations_after(0);
        rejected(DAL_VELD_Delete(module_, intf_, &key.request));
        fail_allocations_after(0);
        rejected(DAL_VELD_Count(module_, intf_, &count));
        fail_allocations_after(0);
        rejected(DAL_VELD_CountByKey(module_, intf_, &key.request, &count));
        fail_allocations_after(0);
        rejected_handle(DAL_VELD_CreateIterator(module_, intf_));
        fail_allocations_after(0);
        rejected_handle(DAL_VELD_CreateIteratorByKey(module_, intf_, &key.request));
        fail_allocations_after(0);
        rejected(DAL_VELD_GetNextEntry(module_, intf_, nullptr, &request));
        fail_allocations_after(0);
        rejected(DAL_VELD_ReleaseIterator(module_, intf_, nullptr));
        EXPECT_EQ(bytes_held(), held);
    }
    EXPECT_EQ(count, 77U);
    EXPECT_EQ(stored, packed(record(1)));
    stop_failing_allocations();
    EXPECT_EQ(write(record(1)), 0U);
    EXPECT_EQ(read(facts_.keys[0], record(1)), stored);
}

std::uint32_t keep(const L2vpnDbRecData *, L2vpnDbRecObj *, const std::uint32_t *, std::uint32_t) {
    return 0;
}

/// The life of a table from its first call on, with everything that allocates: records, indexes,
/// iterators of both kinds, record objects. A rejected call is repeated and must succeed then.
class FreshStoreMemoryLife : public FreshStoreMemory {
protected:
    static constexpr std::uint32_t records = 150;

    template <class Call>
    void expect_success(Call call) {
        std::uint32_t code = call();
        if (code == L2VPN_STORE_NO_MEMORY) {
            ++rejected_;
            code = call();
        }
        EXPECT_EQ(code, 0U);
    }

    template <class Call>
    auto expect_created(Call call) {
        decltype(call()) created = nullptr;
        expect_success([&] {
            created = call();
            return created == nullptr ? L2VPN_STORE_NO_MEMORY : L2VPN_DB_OK;
        });
        return created;
    }

    /// Returns how many calls were rejected.
    std::uint32_t live() {
        const TestRecords pool(facts_, records, TestRecords::Spread::distinct);
        for (std::uint32_t i = 0; i < records; ++i) {
            Bytes stored = pool.make(i, 0);
            const L2vpnDbRecData request = record_request(stored);
            expect_success([&] { return DAL_VELD_Write(module_, intf_, &request); });
        }
        for (std::uint32_t i = 0; i < records; i += 10) {
            const KeyRequest key(facts_.keys[0], pool.primary(i), KeyRequest::Value{});
            const L2vpnDbRecData request = unread_record();
            const L2vpnDbUpdData update{nullptr, 0, 0, keep};
            expect_success(
                [&] { return DAL_VELD_Update(module_, intf_, &key.request, &request, &update); });
        }
        L2vpnDbRecObj *const object = expect_created([&] { return intf_->createObject(module_); });
        intf_->releaseObject(module_, object);
        // Enough to allocate cursor chunks twice.
        std::vector<L2vpnDbIter *> iterators;
        while (iterators.size() < 60) {
            const Key &by = facts_.keys[iterators.size() % facts_.keys.size()];
            const KeyRequest key(by, TestRecords::key_value(by, pool.make(7, 0)),
                                 KeyRequest::Value{});
            iterators.push_back(expect_created(
                [&] { return DAL_VELD_CreateIteratorByKey(module_, intf_, &key.request); }));
            iterators.push_back(
                expect_created([&] { return DAL_VELD_CreateIterator(module_, intf_); }));
        }
        stop_failing_allocations();
        for (std::size_t i = 0; i < iterators.size(); ++i) {
            const std::vector<Bytes> delivered = rest_of(iterators[i]);
            EXPECT_EQ(delivered.size() == records, i % 2 == 1);
            EXPECT_EQ(std::count(delivered.begin(), delivered.end(), pool.make(7, 0)), 1);
        }
        for (std::uint32_t i = 0; i < records; ++i) {
            const Bytes stored = pool.make(i, 0);
            EXPECT_EQ(read(facts_.keys[0], unpacked(stored)), stored);
        }
        EXPECT_EQ(count(), records);
        return rejected_;
    }

    /// Returns the function's result in a new process, in which the table is unused.
    template <class Function>
    static int in_new_process(Function function) {
        const pid_t child = fork();
        if (child == 0) {
            const std::uint32_t result = function();
            _exit(HasFailure() ? 255 : static_cast<int>(result));
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        return WEXITSTATUS(status);
    }

private:
    std::uint32_t rejected_ = 0;
};
L2VPN_TEST_TYPED_TABLES(FreshStoreMemoryLife, has_pool);

TEST_P(FreshStoreMemoryLife, AnyOneAllocationMayFail) {
    if (is_used(table_))
        GTEST_SKIP() << "the table has been used before";
    const int needed = in_new_process([&] {
        const std::uint32_t before = allocations();
        EXPECT_EQ(live(), 0U);
        return allocations() - before;
    });
    // The table, its records, one index per key, cursors, record objects.
    EXPECT_GT(needed, 10 + static_cast<int>(facts_.keys.size()));
    ASSERT_LT(needed, 255);
    for (int n = 0; n < needed; ++n) {
        ASSERT_EQ(in_new_process([&] {
                      fail_one_allocation_after(static_cast<std::uint32_t>(n));
                      return live();
                  }),
                  1)
            << "allocation " << n;
    }
}

// Cursors are allocated in chunks of growing size.
TEST_P(StoreMemory, IteratorsAreRejectedIfAllocationFails) {
    std::vector<L2vpnDbIter *> iterators;
    std::uint32_t rejections = 0;
    while (rejections < 3) {
        fail_allocations_after(0);
        L2vpnDbIter *iterator = DAL_VELD_CreateIterator(module_, intf_);
        stop_failing_allocations();
        if (iterator == nullptr) {
            ++rejections;
            iterator = open();
        }
        iterators.push_back(iterator);
    }
    for (L2vpnDbIter *const iterator : iterators)
        EXPECT_EQ(release(iterator), 0U);
}

bool has_long_key(const Facts &table) {
    return table.keys[0].length >= 12;
}

class StoreMemoryOfSimilarKeys : public StoreMemory {};
L2VPN_TEST_TYPED_TABLES(StoreMemoryOfSimilarKeys, has_long_key);

// Keys with one ending must not have one hash, or the index grows without bound. The two endings
// are a factor of the hash function and its complement.
TEST_P(StoreMemoryOfSimilarKeys, StaysSmall) {
    for (const std::uint64_t ending :
         {UINT64_C(0xD1B54A32D192ED03), UINT64_C(0x2E4AB5CD2E6D12FC)}) {
        constexpr std::uint32_t records = 600;
        const std::size_t held = bytes_held();
        for (std::uint32_t i = 0; i < records; ++i) {
            Bytes key(facts_.keys[0].length);
            std::memcpy(key.data(), &i, sizeof i);
            std::memcpy(key.data() + key.size() - sizeof ending, &ending, sizeof ending);
            Bytes stored(facts_.stored_size);
            std::size_t at = 0;
            for (const Field &member : facts_.keys[0].members) {
                std::copy_n(key.begin() + static_cast<std::ptrdiff_t>(at), member.width,
                            stored.begin() + member.stored_offset);
                at += member.width;
            }
            const L2vpnDbRecData request = record_request(stored);
            ASSERT_EQ(DAL_VELD_Write(module_, intf_, &request), 0U) << i;
        }
        EXPECT_LT(bytes_held() - held, (std::size_t{1} << 20) + records * facts_.stored_size);
    }
}

// ---- Enough records for the largest blocks of an arena

constexpr std::size_t plenty = std::size_t{28} << 20;

/// The table with the longest records (rank 0), the second longest (1), ...
const TypedTable &long_table(std::size_t rank) {
    std::vector<const TypedTable *> tables = tables_with(typed_tables, [](const Facts &table) {
        return table.keys[0].members[0].width >= sizeof(std::uint32_t);
    });
    std::sort(tables.begin(), tables.end(), [](const TypedTable *one, const TypedTable *other) {
        return facts(one->name).stored_size > facts(other->name).stored_size;
    });
    return *tables[rank];
}

/// Calls `call` with each of the table's records.
template <class Call>
void for_plenty_of_records(const TypedTable &table, Call call) {
    const Facts &about = facts(table.name);
    Bytes stored = TestRecords(about, 1, TestRecords::Spread::even).make(0, 0);
    for (std::uint32_t i = 0; i < plenty / about.stored_size; ++i) {
        std::memcpy(stored.data() + about.keys[0].members[0].stored_offset, &i, sizeof i);
        const KeyRequest key(about.keys[0], TestRecords::key_value(about.keys[0], stored),
                             KeyRequest::Value{});
        L2vpnDbRecData request = record_request(stored);
        call(key.request, request);
    }
}

void remove_plenty_of_records(const TypedTable &table) {
    for_plenty_of_records(table, [&](const L2vpnDbKeyData &key, const L2vpnDbRecData &) {
        ASSERT_EQ(DAL_VELD_Delete(module(), table.descriptor, &key), 0U);
    });
}

TEST(StoreMemoryService, ProvidesAllMemory) {
    register_memory_service();
    const TypedTable &table = long_table(0);
    const L2vpnDbUpdData update{nullptr, 0, 0, table.set_fields};
    // A thread's first call makes the C library register a destructor, which allocates.
    std::uint32_t count = 0;
    EXPECT_EQ(DAL_VELD_Count(module(), table.descriptor, &count), 0U);
    const std::size_t held = bytes_held();
    std::uint32_t direct = 0;
    const auto without_direct_allocations = [&](auto call) {
        const std::uint32_t before = direct_allocations();
        call();
        direct += direct_allocations() - before;
    };
    for_plenty_of_records(table, [&](const L2vpnDbKeyData &key, L2vpnDbRecData &record) {
        without_direct_allocations([&] {
            DAL_VELD_Write(module(), table.descriptor, &record);
            DAL_VELD_Read(module(), table.descriptor, &key, &record);
        });
    });
    EXPECT_GE(bytes_held() - held, plenty);
    const std::uint32_t returned = releases();
    std::uint32_t calls = 0;
    L2vpnDbIter *const iterator = DAL_VELD_CreateIterator(module(), table.descriptor);
    for_plenty_of_records(table, [&](const L2vpnDbKeyData &key, L2vpnDbRecData &record) {
        ++calls;
        without_direct_allocations([&] {
            DAL_VELD_Update(module(), table.descriptor, &key, &record, &update);
            DAL_VELD_Count(module(), table.descriptor, &count);
            DAL_VELD_CountByKey(module(), table.descriptor, &key, &count);
            DAL_VELD_GetNextEntry(module(), table.descriptor, iterator, &record);
            DAL_VELD_ReleaseIterator(
                module(), table.descriptor,
                DAL_VELD_CreateIteratorByKey(module(), table.descriptor, &key));
        });
    });
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module(), table.descriptor, iterator), 0U);
    EXPECT_EQ(releases() - returned, calls) << "each update releases its record object";
    EXPECT_EQ(direct, 0U);
    remove_plenty_of_records(table);
}

std::size_t given = 0;
void *give(std::size_t size) {
    given += size;
    return std::malloc(size);
}

TEST(StoreMemoryService, ProvidesAllMemoryEvenIfItReleasesByFree) {
    const L2vpnDbMemIntf service = l2vpn_store_memory_service(give, std::free);
    L2VPN_DB_MemIntfReg(&service);
    const TypedTable &table = long_table(1);
    for_plenty_of_records(table, [&](const L2vpnDbKeyData &, const L2vpnDbRecData &record) {
        ASSERT_EQ(DAL_VELD_Write(module(), table.descriptor, &record), 0U);
    });
    EXPECT_GE(given, plenty);
    remove_plenty_of_records(table);
}

TEST(StoreMemoryService, OfOneFunctionIsIgnored) {
    const TypedTable &table = long_table(2);
    for (const L2vpnDbMemIntf service : {l2vpn_store_memory_service(give, nullptr),
                                         l2vpn_store_memory_service(nullptr, std::free)}) {
        given = 0;
        L2VPN_DB_MemIntfReg(&service);
        std::uint32_t count = 77;
        EXPECT_EQ(DAL_VELD_Count(module(), table.descriptor, &count), 0U);
        L2vpnDbRecObj *const object = table.descriptor->createObject(module());
        ASSERT_NE(object, nullptr);
        table.descriptor->releaseObject(module(), object);
        EXPECT_EQ(given, 0U);
    }
}

TEST(StoreMemoryService, IsRegisteredWithoutAllocation) {
    const std::uint32_t direct = direct_allocations();
    const std::uint32_t allocated = allocations();
    fail_direct_allocations(true);
    fail_allocations_after(0);
    for (int times = 0; times < 3; ++times) {
        register_memory_service();
        const L2vpnDbLogIntf no_log{};
        L2VPN_DB_LogIntfReg(&no_log);
    }
    stop_failing_allocations();
    fail_direct_allocations(false);
    EXPECT_EQ(direct_allocations(), direct);
    EXPECT_EQ(allocations(), allocated);
}

// Without a service, small blocks and then large ones come from the C library.
TEST(StoreMemoryService, IsOptionalAndMallocMayFail) {
    unregister_memory_service();
    const TypedTable &table = long_table(4);
    std::uint32_t count = 0;
    EXPECT_EQ(DAL_VELD_Count(module(), table.descriptor, &count), 0U);
    if (!fail_direct_allocations(true))
        GTEST_SKIP() << "the sanitizer replaces malloc";
    fail_direct_allocations(false);
    std::uint32_t written = 0;
    std::uint32_t rejected = 0;
    for_plenty_of_records(table, [&](const L2vpnDbKeyData &key, L2vpnDbRecData &record) {
        fail_direct_allocations(true);
        const std::uint32_t code = DAL_VELD_Write(module(), table.descriptor, &record);
        fail_direct_allocations(false);
        if (code != 0) {
            ++rejected;
            ASSERT_EQ(code, L2VPN_STORE_NO_MEMORY);
            ASSERT_EQ(DAL_VELD_Read(module(), table.descriptor, &key, &record),
                      L2VPN_STORE_NOT_FOUND);
            ASSERT_EQ(DAL_VELD_Write(module(), table.descriptor, &record), 0U);
        }
        ++written;
    });
    EXPECT_GE(rejected, 20U);
    EXPECT_EQ(DAL_VELD_Count(module(), table.descriptor, &count), 0U);
    EXPECT_EQ(count, written);
    remove_plenty_of_records(table);
}

// A table keeps its memory; the new service provides all further memory.
TEST(StoreMemoryService, CanBeReplacedWhileTablesAreInUse) {
    register_memory_service();
    const TypedTable &table = long_table(5);
    std::uint32_t written = 0;
    for_plenty_of_records(table, [&](const L2vpnDbKeyData &, const L2vpnDbRecData &record) {
        if (++written == 1000) {
            const L2vpnDbMemIntf service = l2vpn_store_memory_service(give, std::free);
            L2VPN_DB_MemIntfReg(&service);
            given = 0;
        }
        if (written == 2000) {
            EXPECT_GT(given, 0U);
            given = 0;
            unregister_memory_service();
        }
        ASSERT_EQ(DAL_VELD_Write(module(), table.descriptor, &record), 0U);
    });
    EXPECT_EQ(given, 0U);
    for_plenty_of_records(table, [&](const L2vpnDbKeyData &key, L2vpnDbRecData &record) {
        Bytes stored(record.length);
        L2vpnDbRecData request = record_request(stored);
        ASSERT_EQ(DAL_VELD_Read(module(), table.descriptor, &key, &request), 0U);
        ASSERT_EQ(std::memcmp(stored.data(), record.data, record.length), 0);
    });
    remove_plenty_of_records(table);
}

// An object is released by the service that allocated it.
TEST(StoreMemoryService, ReleasesItsObjectsAfterReplacement) {
    register_memory_service();
    const TypedTable &table = long_table(3);
    const std::size_t held = bytes_held();
    L2vpnDbRecObj *const object = table.descriptor->createObject(module());
    EXPECT_GT(bytes_held(), held);
    unregister_memory_service();
    table.descriptor->releaseObject(module(), object);
    EXPECT_EQ(bytes_held(), held);
}

} // namespace
} // namespace l2vpn::test
