// SPDX-License-Identifier: MIT
// Every operation returns the store's results unchanged and writes only its output to the caller's
// memory.
#include "tests/support/table_test.h"

#include <algorithm>
#include <functional>
#include <random>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::test {
namespace {

/// All of a caller's arguments in one block, separated by guard bytes, so that one comparison
/// detects any unexpected write.
class CallerMemory {
public:
    explicit CallerMemory(std::size_t record_size) : bytes_(record_at + record_size + guard) {}

    /// `key` is the key of request().
    void fill(const Bytes &caller, const KeyFunctions &key) {
        std::ranges::copy(sample_record(static_cast<std::uint32_t>(bytes_.size()), 23),
                          bytes_.begin());
        std::ranges::copy(caller, bytes_.begin() + record_at);
        std::fill_n(at<std::uint8_t>(request_at), sizeof(L2vpnDbKeyData), std::uint8_t{0});
        std::fill_n(at<std::uint32_t>(key_id_at), 4, 0U);
        key.set(record(), at<L2vpnDbKeyData>(request_at), at<std::uint32_t>(key_id_at),
                at<std::uint8_t>(key_at));
    }

    std::uint8_t *record() { return at<std::uint8_t>(record_at); }
    std::uint32_t *count() { return at<std::uint32_t>(count_at); }
    std::uint32_t *ids() { return at<std::uint32_t>(ids_at); }
    L2vpnDbKeyData *request() { return at<L2vpnDbKeyData>(request_at); }

    [[nodiscard]] const Bytes &bytes() const { return bytes_; }
    /// A copy in which the bytes at `at` are replaced.
    [[nodiscard]] Bytes bytes_with(const void *at, const Bytes &replacement) const {
        Bytes changed = bytes_;
        std::ranges::copy(replacement, changed.begin() +
                                           (static_cast<const std::uint8_t *>(at) - bytes_.data()));
        return changed;
    }

private:
    static constexpr std::ptrdiff_t guard = 64;
    static constexpr std::ptrdiff_t count_at = guard;
    static constexpr std::ptrdiff_t ids_at = count_at + 8 + guard;
    static constexpr std::ptrdiff_t request_at = ids_at + 8 + guard;
    static constexpr std::ptrdiff_t key_id_at = request_at + sizeof(L2vpnDbKeyData) + guard;
    static constexpr std::ptrdiff_t key_at = key_id_at + L2VPN_DB_KEY_ID_LENGTH + guard;
    static constexpr std::ptrdiff_t record_at =
        key_at + 8192 + guard; // a key of the maximum record size

    template <class T>
    T *at(std::ptrdiff_t offset) {
        return reinterpret_cast<T *>(bytes_.data() + offset);
    }

    Bytes bytes_;
};

class StoreResults : public TypedTableTest {
protected:
    enum class Delivers : std::uint8_t { nothing, record, count };

    /// A library function that calls the store.
    template <class Result>
    struct Operation {
        std::string name;
        Op op;
        std::function<Result()> call;
        Delivers delivers = Delivers::nothing;
        std::size_t key = 0; ///< the key of the caller's request
    };

    [[nodiscard]] std::vector<Operation<std::uint32_t>> operations_with_code() {
        const L2vpnDalIntf row = table.dal_intf();
        std::uint8_t *const at = memory.record();
        std::uint32_t *const ids = memory.ids();
        std::uint32_t *const count = memory.count();
        std::vector<Operation<std::uint32_t>> all{
            {"Write", Op::write, [=, this] { return table.write(at); }},
            {"DAL Write", Op::write, [=, this] { return table.dal.write(at, size); }},
            {"Delete", Op::remove, [=, this] { return table.remove(at); }},
            {"DAL Remove", Op::remove, [=, this] { return table.dal.remove(at, size); }},
            {"UpdateFields", Op::update, [=, this] { return table.update_fields(at, ids, 2); }},
            {"UpdateField", Op::update, [=, this] { return table.update_field(at, *ids); }},
            {"DAL Update", Op::update, [=, this] { return table.dal.update(at, size, ids, 2); }},
            {"Read", Op::read, [=, this] { return table.read(at); }, Delivers::record},
            {"DAL Read", Op::read, [=, this] { return table.dal.read(at, size); },
             Delivers::record},
            {"Count", Op::count, [=, this] { return table.count(count); }, Delivers::count},
            {"DAL Count", Op::count, [=, this] { return table.dal.count(count); }, Delivers::count},
            {"slot Count", Op::count, [=] { return row.count(count); }, Delivers::count}};
        for (L2vpnDbIter *const handle : handles()) {
            all.push_back({"ReleaseIter", Op::release_iterator,
                           [=, this] { return table.release_iter(handle); }});
            all.push_back({"slot ReleaseIter", Op::release_iterator,
                           [=] { return row.releaseIter(handle); }});
            if (handle == nullptr)
                continue;
            all.push_back({"GetNext", Op::get_next_entry,
                           [=, this] { return table.get_next(handle, at); }, Delivers::record});
            all.push_back({"DAL GetNext", Op::get_next_entry,
                           [=, this] { return table.dal.get_next(handle, at, size); },
                           Delivers::record});
        }
        for (std::uint32_t k = 0; k < table.keys.size(); ++k) {
            const KeyFunctions &key = table.keys[k];
            all.push_back({"ReadByKey " + key.name, Op::read,
                           [=, this] { return table.read_by_key(at, memory.request()); },
                           Delivers::record, k});
            all.push_back({"CountBy " + key.name, Op::count_by_key,
                           [=, &key] { return key.count_by(at, count); }, Delivers::count});
            all.push_back({"CountByKey " + key.name, Op::count_by_key,
                           [=, this] { return table.count_by_key(k, at, count); },
                           Delivers::count});
            all.push_back({"DAL CountByKey " + key.name, Op::count_by_key,
                           [=, this] { return table.dal.count_by_key(k, at, size, count); },
                           Delivers::count});
        }
        return all;
    }

    /// Only while the fast iterator is in use; otherwise some of them do not call the store.
    [[nodiscard]] std::vector<Operation<L2vpnDbIter *>> operations_with_handle() {
        const std::uint8_t *const at = memory.record();
        std::vector<Operation<L2vpnDbIter *>> all{
            {"CreateIter of the table", Op::create_iterator,
             [=, this] { return table.create_iter(0, nullptr); }},
            {"DAL CreateIter of the table", Op::create_iterator,
             [=, this] { return table.dal.create_iter(0, nullptr, size); }},
            {"CreateFastPriIter", Op::create_iterator_by_key,
             [=, this] { return table.create_fast_pri_iter(at); }}};
        for (std::uint32_t k = 0; k < table.keys.size(); ++k) {
            const KeyFunctions &key = table.keys[k];
            all.push_back({"Create " + key.name, Op::create_iterator_by_key,
                           [=, &key] { return key.create_iter(at); }});
            all.push_back({"CreateIter " + key.name, Op::create_iterator_by_key,
                           [=, this] { return table.create_iter(k, at); }});
            all.push_back({"DAL CreateIter " + key.name, Op::create_iterator_by_key,
                           [=, this] { return table.dal.create_iter(k, at, size); }});
        }
        return all;
    }

    /// Codes with a meaning, the ends of the range, and random ones.
    static std::vector<std::uint32_t> codes() {
        std::vector<std::uint32_t> all(store_results.begin(), store_results.end());
        all.insert(all.end(), {0x7FFFFFFF, 61, 0xFF, 0x100, 0xFFFFFFFE});
        for (std::uint32_t code = L2VPN_STORE_NOT_FOUND; code <= L2VPN_STORE_NO_MEMORY; ++code)
            all.push_back(code);
        std::mt19937 random(31);
        for (int i = 0; i < 16; ++i)
            all.push_back(static_cast<std::uint32_t>(random()));
        return all;
    }

    /// Possible handles of a store, including invalid addresses.
    [[nodiscard]] std::vector<L2vpnDbIter *> handles() const {
        const auto fast = reinterpret_cast<std::uintptr_t>(table.control_block);
        std::vector<std::uintptr_t> bits{0,           1,        60,       0x3FFFFFFF,
                                         UINTPTR_MAX, fast + 1, fast - 1, ~fast};
        std::mt19937_64 random(32);
        for (int i = 0; i < 4; ++i)
            bits.push_back(random());
        std::vector<L2vpnDbIter *> all;
        for (const std::uintptr_t value : bits)
            all.push_back(reinterpret_cast<L2vpnDbIter *>(value)); // NOLINT: none is an address
        return all;
    }

    /// Programs a store that fills the output buffers even if it fails.
    void set_result(std::uint32_t code) {
        platform().calls.clear();
        platform().result = code;
        platform().delivered = sample_record(expected.stored_size, 25);
    }

    [[nodiscard]] Bytes delivered_over(const Bytes &caller) const {
        return unpacked_record(expected, platform().delivered, caller);
    }

    [[nodiscard]] Bytes block_bytes() const {
        return {block().bytes, block().bytes + table.control_block_size};
    }

    const std::uint32_t size = expected.record_size;
    const Bytes record = sample_record(size, 24);
    CallerMemory memory{size};
};

TEST_P(StoreResults, EveryOperationReturnsEveryCode) {
    for (const Operation<std::uint32_t> &operation : operations_with_code()) {
        SCOPED_TRACE(operation.name);
        const Bytes block_before = block_bytes();
        for (const std::uint32_t code : codes()) {
            for (const bool counts : {false, true}) {
                memory.fill(record, table.keys[operation.key]);
                set_result(code);
                platform().count = counts ? std::optional(4711U) : std::nullopt;
                Bytes after = memory.bytes();
                if (operation.delivers == Delivers::record && code == 0)
                    after = memory.bytes_with(memory.record(), delivered_over(record));
                if (operation.delivers == Delivers::count && counts) // by the store itself
                    after = memory.bytes_with(memory.count(), {4711 & 0xFF, 4711 >> 8, 0, 0});
                ASSERT_EQ(operation.call(), code);
                only_call(operation.op);
                ASSERT_EQ(memory.bytes(), after) << "after " << code;
            }
        }
        EXPECT_EQ(block_bytes(), block_before);
    }
}

TEST_P(StoreResults, FastIteratorReturnsEveryCode) {
    const auto next = [&](bool generic) {
        return generic ? table.dal.get_next(fast_handle(), memory.record(), size)
                       : table.get_next(fast_handle(), memory.record());
    };
    for (const std::uint32_t code : codes()) {
        for (const bool generic : {false, true}) {
            memory.fill(record, table.keys[0]);
            ASSERT_EQ(table.create_fast_pri_iter(memory.record()), fast_handle());
            set_result(code);
            const Bytes before = memory.bytes();
            const Bytes after = memory.bytes_with(memory.record(), delivered_over(record));
            ASSERT_EQ(next(generic), code);
            only_call(Op::read);
            ASSERT_EQ(memory.bytes(), code == 0 ? after : before) << "after " << code;
            ASSERT_EQ(next(generic), 60U);
            ASSERT_EQ(memory.bytes(), code == 0 ? after : before);
            ASSERT_EQ(table.release_iter(fast_handle()), 0U) << "the store's result has no effect";
            only_call(Op::read);
        }
    }
}

TEST_P(StoreResults, EveryOperationReturnsEveryHandle) {
    memory.fill(record, table.keys[0]);
    ASSERT_EQ(table.create_fast_pri_iter(memory.record()), fast_handle());
    const Bytes block_before = block_bytes();
    for (const Operation<L2vpnDbIter *> &operation : operations_with_handle()) {
        SCOPED_TRACE(operation.name);
        for (L2vpnDbIter *const handle : handles()) {
            memory.fill(record, table.keys[0]);
            const Bytes before = memory.bytes();
            platform().calls.clear();
            platform().iterator = handle;
            ASSERT_EQ(operation.call(), handle);
            only_call(operation.op);
            ASSERT_EQ(memory.bytes(), before);
        }
        EXPECT_EQ(block_bytes(), block_before);
    }
}

TEST_P(StoreResults, EveryHandleReachesTheStore) {
    set_result(7);
    for (L2vpnDbIter *const handle : handles()) {
        platform().calls.clear();
        table.release_iter(handle);
        EXPECT_EQ(only_call(Op::release_iterator).iterator, handle);
        platform().calls.clear();
        memory.fill(record, table.keys[0]);
        table.get_next(handle, memory.record());
        if (handle != nullptr) {
            EXPECT_EQ(only_call(Op::get_next_entry).iterator, handle);
        } else {
            EXPECT_TRUE(platform().calls.empty());
        }
    }
}

// The setter returns the record object's result; the store derives its own from that.
TEST_P(StoreResults, SetterReturnsEveryCodeOfTheRecordObject) {
    const Field *const field = expected.find("batchVersion");
    const std::uint32_t id = field == nullptr ? 0 : field->id;
    L2vpnDbRecObj *object = nullptr;
    platform().during_update = [&](const L2vpnDbRecData *request, const L2vpnDbUpdData *update) {
        return update->setFields(request, object, update->fieldIds, update->fieldCount);
    };
    const std::vector<std::uint32_t> results = codes();
    for (std::size_t i = 0; i < results.size(); ++i) {
        object = reinterpret_cast<L2vpnDbRecObj *>(handles()[i % handles().size()]);
        const std::array two{results[i], results[(i + 1) % results.size()]};
        platform().objects.clear();
        platform().setter_results.assign(two.begin(), two.end());
        memory.fill(record, table.keys[0]);
        memory.ids()[0] = memory.ids()[1] = id;
        const Bytes before = memory.bytes();
        const std::uint32_t result = table.update_fields(memory.record(), memory.ids(), 2);
        EXPECT_EQ(memory.bytes(), before);
        if (field == nullptr) {
            EXPECT_EQ(result, 1U);
            EXPECT_TRUE(platform().objects.empty());
            continue;
        }
        EXPECT_EQ(result, two[0] | two[1]);
        ASSERT_EQ(platform().objects.size(), 2U);
        for (const ObjectCall &call : platform().objects)
            EXPECT_EQ(call.object, object);
    }
}

// The library does not interpret the services: every store call gets the module block in its
// present state.
TEST_P(StoreResults, EveryOperationPassesTheRegisteredServices) {
    L2vpnDbModuleIntf seen{};
    platform().during_call = [&](const StoreCall &call) { seen = *call.module; };
    const auto expect_seen = [&](std::uintptr_t one, std::uintptr_t two, std::uintptr_t log) {
        const auto words = [&] { return std::array{seen.memory[0], seen.memory[1], seen.log}; };
        const std::array registered{one, two, log};
        memory.fill(record, table.keys[0]);
        for (const auto &operation : operations_with_code()) {
            seen = {{9, 9}, 9};
            operation.call();
            EXPECT_EQ(words(), registered) << operation.name;
        }
    };
    expect_seen(0, 0, 0); // never
    const L2vpnDbMemIntf memory_service{{11, 12}};
    const L2vpnDbLogIntf log_service{13};
    for (int times = 0; times < 2; ++times) { // twice
        L2VPN_DB_MemIntfReg(&memory_service);
        expect_seen(11, 12, times == 0 ? 0 : 13);
        L2VPN_DB_LogIntfReg(&log_service);
        expect_seen(11, 12, 13);
    }
    const L2vpnDbMemIntf other_memory_service{{21, 0}};
    L2VPN_DB_MemIntfReg(&other_memory_service);
    expect_seen(21, 0, 13);
    const L2vpnDbLogIntf no_log_service{0};
    L2VPN_DB_LogIntfReg(&no_log_service);
    expect_seen(21, 0, 0);
    g_l2vpnDbModuleIntf = {};
}

L2VPN_TEST_TYPED_TABLES(StoreResults, any_table);

} // namespace
} // namespace l2vpn::test
