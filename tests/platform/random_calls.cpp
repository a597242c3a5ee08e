// SPDX-License-Identifier: MIT
#include "tests/platform/random_calls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

#include "l2vpn_db/platform.h"
#include "tests/platform/memory_service.h"
#include "tests/platform/requests.h"

namespace l2vpn::test {
namespace {

/// The contents that this thread's setter puts into the record object, and its result.
struct Setting {
    const L2vpnDbTblIntf *table = nullptr;
    Bytes contents;
    std::uint32_t result = 0;
    int calls = 0;
};
thread_local Setting setting;

std::uint32_t set_contents(const L2vpnDbRecData *, L2vpnDbRecObj *object, const std::uint32_t *,
                           std::uint32_t) {
    ++setting.calls;
    const L2vpnDbRecData contents = record_request(setting.contents);
    EXPECT_EQ(setting.table->setAllFields(object, &contents), 0U);
    return setting.result;
}

} // namespace

RandomCalls::RandomCalls(const TypedTable &table, const TestRecords &pool, Share share,
                         std::uint32_t seed)
    : table_(table), pool_(pool), keys_(pool.table().keys), share_(share), random_(seed),
      held_(pool.size()), chains_(keys_.size()) {}

std::uint32_t RandomCalls::any() {
    const std::uint32_t shares = (pool_.size() - share_.first - 1) / share_.step + 1;
    return share_.first + static_cast<std::uint32_t>(random_() % shares) * share_.step;
}

Bytes RandomCalls::random_version(std::uint32_t number) {
    return pool_.make(number, static_cast<std::uint32_t>(random_() % TestRecords::versions));
}

const RandomCalls::Numbers &RandomCalls::chain(std::size_t key, const Bytes &value) const {
    static const Numbers none;
    const auto found = chains_[key].find(value);
    return found == chains_[key].end() ? none : found->second;
}

// ---- The model --------------------------------------------------------------------------------

void RandomCalls::put(std::uint32_t number, Bytes stored) {
    const bool is_new = !is_held(number);
    for (std::size_t k = 0; k < keys_.size(); ++k) {
        const Bytes value = TestRecords::key_value(keys_[k], stored);
        if (!is_new) {
            if (TestRecords::key_value(keys_[k], held_[number]) == value)
                continue;
            unlink(number, k);
        }
        Numbers &members = chains_[k][value];
        members.insert(number);
        longest_chain_ = std::max(longest_chain_, members.size());
    }
    held_[number] = std::move(stored);
    count_ += is_new ? 1 : 0;
    max_records_ = std::max(max_records_, count_);
}

void RandomCalls::unlink(std::uint32_t number, std::size_t key) {
    const auto members = chains_[key].find(TestRecords::key_value(keys_[key], held_[number]));
    members->second.erase(number);
    if (members->second.empty())
        chains_[key].erase(members);
    clear_due(number, key);
}

void RandomCalls::clear_due(std::uint32_t number, std::size_t key) {
    for (Open &iterator : open_)
        if (iterator.key == key && iterator.due[number]) {
            iterator.due[number] = false;
            --iterator.due_count;
        }
}

/// Another player may have changed its record, but the key value must match and it must not be
/// torn.
std::optional<std::uint32_t> RandomCalls::expect_delivered(const Bytes &stored, std::size_t key,
                                                           const Bytes &value) {
    const auto number = pool_.number(stored);
    if (!number) {
        ADD_FAILURE() << "a record that was never written";
        return number;
    }
    if (own(*number)) {
        EXPECT_EQ(stored, held_[*number]);
    } else {
        EXPECT_TRUE(pool_.is_whole(*number, stored)) << "torn record";
    }
    if (key != whole_table) {
        EXPECT_EQ(TestRecords::key_value(keys_[key], stored), value);
    }
    return number;
}

// ---- Failing allocations ----------------------------------------------------------------------

/// Makes a call repeatedly, as a caller might, while its allocations fail after `successes`.
template <class Call>
std::uint32_t RandomCalls::repeat_until_memory(std::uint32_t successes, Call call) {
    constexpr int attempts = 400;
    std::size_t settled = 0;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        fail_allocations_after(successes);
        const std::uint32_t code = call();
        stop_failing_allocations();
        if (code != L2VPN_STORE_NO_MEMORY)
            return code;
        expect_event(L2VPN_STORE_STAT_NO_MEMORY);
        if (attempt == attempts / 2)
            settled = bytes_held();
    }
    EXPECT_EQ(bytes_held(), settled) << "failed calls leak";
    return L2VPN_STORE_NO_MEMORY;
}

template <class Call>
std::uint32_t RandomCalls::with_injected_failures(Call call) {
    if (!failing_)
        return call();
    for (std::uint32_t successes = 0;; ++successes) {
        const std::uint32_t code = repeat_until_memory(successes, call);
        if (code != L2VPN_STORE_NO_MEMORY)
            return code;
        failing_ = false;
        check_everything();
        failing_ = true;
        if (testing::Test::HasFailure())
            return code;
    }
}

// ---- The calls --------------------------------------------------------------------------------

void RandomCalls::write(std::uint32_t number, Bytes stored) {
    const L2vpnDbRecData request = record_request(stored);
    EXPECT_EQ(with_injected_failures(
                  [&] { return DAL_VELD_Write(module(), table_.descriptor, &request); }),
              0U);
    expect_event(is_held(number) ? L2VPN_STORE_STAT_REPLACED : L2VPN_STORE_STAT_INSERTED);
    put(number, std::move(stored));
}

/// Expects the stored record, or with another expectation a conflict.
void RandomCalls::write_if(std::uint32_t number, Bytes stored) {
    const bool wrong = random_() % 4 == 0;
    Bytes expected = is_held(number) != wrong ? held_[number] : Bytes{};
    if (wrong && is_held(number) && random_() % 2 == 0) {
        expected = held_[number];
        expected[random_() % expected.size()] ^= 1;
    } else if (wrong && !is_held(number)) {
        expected = random_version(number);
    }
    const L2vpnDbRecData condition = record_request(expected);
    const L2vpnDbRecData request = record_request(stored);
    EXPECT_EQ(with_injected_failures([&] {
                  return L2VPN_STORE_WriteIf(module(), table_.descriptor,
                                             expected.empty() ? nullptr : &condition, &request);
              }),
              wrong ? L2VPN_STORE_CONFLICT : 0U);
    if (wrong)
        return expect_event(L2VPN_STORE_STAT_UPDATE_REFUSED);
    expect_event(is_held(number) ? L2VPN_STORE_STAT_REPLACED : L2VPN_STORE_STAT_INSERTED);
    put(number, std::move(stored));
}

void RandomCalls::remove(std::uint32_t number) {
    const KeyRequest key(keys_[0], pool_.primary(number), KeyRequest::Value{});
    const std::uint32_t code = DAL_VELD_Delete(module(), table_.descriptor, &key.request);
    if (!is_held(number)) {
        EXPECT_EQ(code, L2VPN_STORE_NOT_FOUND);
        expect_event(L2VPN_STORE_STAT_DELETE_MISSED);
        return;
    }
    EXPECT_EQ(code, 0U);
    expect_event(L2VPN_STORE_STAT_DELETED);
    for (std::size_t k = 0; k < keys_.size(); ++k)
        unlink(number, k);
    clear_due(number, whole_table);
    held_[number].clear();
    --count_;
}

void RandomCalls::update(std::uint32_t number) {
    const std::size_t kind = random_() % 4;
    const std::uint32_t other = kind == 0 ? (number + 1) % pool_.size() : number;
    update(number, random_version(other),
           kind == 1 ? static_cast<std::uint32_t>(random_() | 1) : 0U);
}

void RandomCalls::update(std::uint32_t number, Bytes contents, std::uint32_t result) {
    const bool changes_primary =
        TestRecords::key_value(keys_[0], contents) != pool_.primary(number);
    setting = {table_.descriptor, std::move(contents), result, 0};
    const KeyRequest key(keys_[0], pool_.primary(number), KeyRequest::Value{});
    const L2vpnDbRecData record = unread_record();
    const L2vpnDbUpdData update{nullptr, 0, 0, set_contents};
    const std::uint32_t code = with_injected_failures([&] {
        setting.calls = 0;
        return DAL_VELD_Update(module(), table_.descriptor, &key.request, &record, &update);
    });
    EXPECT_EQ(setting.calls, is_held(number) ? 1 : 0);
    if (!is_held(number)) {
        EXPECT_EQ(code, L2VPN_STORE_NOT_FOUND);
        expect_event(L2VPN_STORE_STAT_UPDATE_MISSED);
    } else if (changes_primary || setting.result != 0) {
        EXPECT_EQ(code, changes_primary ? L2VPN_STORE_KEY_CHANGED : setting.result);
        expect_event(L2VPN_STORE_STAT_UPDATE_REFUSED);
    } else {
        EXPECT_EQ(code, 0U);
        expect_event(L2VPN_STORE_STAT_UPDATED);
        put(number, setting.contents);
    }
}

void RandomCalls::read(std::uint32_t number) {
    read_by(0, pool_.primary(number));
}

void RandomCalls::read_by(std::size_t key, const Bytes &value) {
    const KeyRequest selected(keys_[key], value, KeyRequest::Value{});
    Bytes buffer(pool_.table().stored_size);
    L2vpnDbRecData request = record_request(buffer);
    expect_read(key, value, DAL_VELD_Read(module(), table_.descriptor, &selected.request, &request),
                buffer);
}

void RandomCalls::expect_read(std::size_t key, const Bytes &value, std::uint32_t code,
                              const Bytes &buffer) {
    if (alone() || !chain(key, value).empty()) {
        EXPECT_EQ(code, chain(key, value).empty() ? L2VPN_STORE_NOT_FOUND : 0U);
    }
    if (code == 0)
        expect_delivered(buffer, key, value);
    else {
        EXPECT_EQ(code, L2VPN_STORE_NOT_FOUND);
    }
    if (key == 0)
        expect_event(code == 0 ? L2VPN_STORE_STAT_READ : L2VPN_STORE_STAT_READ_MISSED);
    else
        expect_event(code == 0 ? L2VPN_STORE_STAT_KEY_READ : L2VPN_STORE_STAT_KEY_READ_MISSED);
}

/// Reads records by any keys in one call.
void RandomCalls::read_many() {
    std::deque<KeyRequest> selected;
    std::deque<Bytes> buffers;
    std::vector<std::size_t> by;
    std::vector<L2vpnDbKeyData> keys;
    std::vector<L2vpnDbRecData> records;
    for (std::size_t reads = random_() % 20; reads != 0; --reads) {
        const std::uint32_t number = any();
        by.push_back(random_() % 4 == 0 ? random_() % keys_.size() : 0);
        const Key &key = keys_[by.back()];
        selected.emplace_back(key, TestRecords::key_value(key, random_version(number)),
                              KeyRequest::Value{});
        buffers.emplace_back(pool_.table().stored_size);
        keys.push_back(selected.back().request);
        records.push_back(record_request(buffers.back()));
    }
    std::vector<std::uint32_t> codes(keys.size());
    const std::uint32_t first =
        L2VPN_STORE_ReadMany(module(), table_.descriptor, keys.data(), records.data(),
                             static_cast<std::uint32_t>(keys.size()), codes.data());
    const auto failed = std::ranges::find_if(codes, [](std::uint32_t code) { return code != 0; });
    EXPECT_EQ(first, failed == codes.end() ? 0U : *failed);
    for (std::size_t i = 0; i < keys.size(); ++i)
        expect_read(by[i], selected[i].value, codes[i], buffers[i]);
}

void RandomCalls::count() {
    std::uint32_t counted = 0;
    EXPECT_EQ(DAL_VELD_Count(module(), table_.descriptor, &counted), 0U);
    EXPECT_GE(counted, count_);
    if (alone()) {
        EXPECT_EQ(counted, count_);
    }
    expect_event(L2VPN_STORE_STAT_COUNTED);
}

void RandomCalls::count_by(std::size_t key, const Bytes &value) {
    const KeyRequest selected(keys_[key], value, KeyRequest::Value{});
    std::uint32_t counted = 0;
    EXPECT_EQ(DAL_VELD_CountByKey(module(), table_.descriptor, &selected.request, &counted), 0U);
    EXPECT_GE(counted, chain(key, value).size());
    if (alone()) {
        EXPECT_EQ(counted, chain(key, value).size());
    }
    expect_event(L2VPN_STORE_STAT_KEY_COUNTED);
}

void RandomCalls::open(std::size_t key, const Bytes &value) {
    Open iterator{
        nullptr, key, value, std::vector<bool>(pool_.size()), 0, std::vector<bool>(pool_.size()),
        false};
    if (key == whole_table) {
        EXPECT_EQ(with_injected_failures([&] {
                      iterator.handle = DAL_VELD_CreateIterator(module(), table_.descriptor);
                      return iterator.handle == nullptr ? L2VPN_STORE_NO_MEMORY : 0U;
                  }),
                  0U);
        for (std::uint32_t number = 0; number < pool_.size(); ++number)
            iterator.due[number] = is_held(number);
        iterator.due_count = static_cast<std::uint32_t>(count_);
        expect_event(L2VPN_STORE_STAT_ITER_OPENED);
    } else {
        const KeyRequest selected(keys_[key], value, KeyRequest::Value{});
        EXPECT_EQ(with_injected_failures([&] {
                      iterator.handle = DAL_VELD_CreateIteratorByKey(module(), table_.descriptor,
                                                                     &selected.request);
                      return iterator.handle == nullptr ? L2VPN_STORE_NO_MEMORY : 0U;
                  }),
                  0U);
        for (const std::uint32_t number : chain(key, value))
            iterator.due[number] = true;
        iterator.due_count = static_cast<std::uint32_t>(chain(key, value).size());
        expect_event(L2VPN_STORE_STAT_KEY_ITER_OPENED);
    }
    ASSERT_NE(iterator.handle, nullptr);
    open_.push_back(std::move(iterator));
}

void RandomCalls::open_some() {
    const std::size_t choice = random_() % (keys_.size() + 1);
    if (choice == keys_.size())
        return open(whole_table, {});
    // Mostly existing values: those of a record in the table, if one is found.
    std::uint32_t number = any();
    for (int attempt = 0; attempt < 8 && !is_held(number); ++attempt)
        number = any();
    open(choice, TestRecords::key_value(keys_[choice],
                                        is_held(number) ? held_[number] : random_version(number)));
}

bool RandomCalls::advance(Open &iterator) {
    Bytes buffer(pool_.table().stored_size);
    L2vpnDbRecData request = record_request(buffer);
    const std::uint32_t code =
        DAL_VELD_GetNextEntry(module(), table_.descriptor, iterator.handle, &request);
    if (code == 0)
        return expect_next(iterator, buffer);
    expect_end(iterator, code);
    return false;
}

/// Advances by several records in one call.
bool RandomCalls::advance_by_many(Open &iterator) {
    const std::uint32_t length = pool_.table().stored_size;
    const auto capacity = static_cast<std::uint32_t>(random_() % 30 + 1);
    Bytes buffer(std::size_t{capacity} * length);
    const L2vpnDbRecData first{buffer.data(), length, 0};
    std::uint32_t delivered = 77;
    const std::uint32_t code = L2VPN_STORE_NextMany(module(), table_.descriptor, iterator.handle,
                                                    &first, capacity, &delivered);
    if (code != 0) {
        EXPECT_EQ(delivered, 0U);
        expect_end(iterator, code);
        return false;
    }
    EXPECT_GE(delivered, 1U);
    EXPECT_LE(delivered, capacity);
    for (std::uint32_t i = 0; i < delivered; ++i) {
        const auto at = buffer.begin() + static_cast<std::ptrdiff_t>(i * length);
        if (!expect_next(iterator, Bytes(at, at + length)))
            return false;
    }
    return true;
}

void RandomCalls::expect_end(Open &iterator, std::uint32_t code) {
    EXPECT_EQ(code, L2VPN_STORE_END);
    EXPECT_EQ(iterator.due_count, 0U) << "records were not delivered";
    expect_event(L2VPN_STORE_STAT_ITER_ENDED);
    iterator.ended = true;
}

bool RandomCalls::expect_next(Open &iterator, const Bytes &stored) {
    expect_event(L2VPN_STORE_STAT_DELIVERED);
    EXPECT_FALSE(iterator.ended) << "delivered past the end";
    const auto number = expect_delivered(stored, iterator.key, iterator.value);
    if (!number)
        return false;
    EXPECT_FALSE(iterator.seen[*number]) << "delivered twice";
    iterator.seen[*number] = true;
    if (own(*number)) {
        EXPECT_TRUE(iterator.due[*number]) << "delivered a record that is not due";
        iterator.due_count -= iterator.due[*number] ? 1U : 0U;
        iterator.due[*number] = false;
    }
    return true;
}

void RandomCalls::release(std::size_t at) {
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module(), table_.descriptor, open_[at].handle), 0U);
    expect_event(L2VPN_STORE_STAT_ITER_RELEASED);
    open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(at));
}

/// Read returns the record that an iterator would deliver first.
void RandomCalls::compare_read_with_iterator(std::size_t key, const Bytes &value) {
    if (!alone())
        return;
    const KeyRequest selected(keys_[key], value, KeyRequest::Value{});
    Bytes read(pool_.table().stored_size);
    Bytes delivered(pool_.table().stored_size);
    L2vpnDbRecData to_read = record_request(read);
    L2vpnDbRecData to_deliver = record_request(delivered);
    const std::uint32_t code =
        DAL_VELD_Read(module(), table_.descriptor, &selected.request, &to_read);
    L2vpnDbIter *const handle =
        DAL_VELD_CreateIteratorByKey(module(), table_.descriptor, &selected.request);
    const std::uint32_t first =
        DAL_VELD_GetNextEntry(module(), table_.descriptor, handle, &to_deliver);
    EXPECT_EQ(code == 0, first == 0);
    EXPECT_EQ(read, delivered);
    EXPECT_EQ(DAL_VELD_ReleaseIterator(module(), table_.descriptor, handle), 0U);
    if (key == 0)
        expect_event(code == 0 ? L2VPN_STORE_STAT_READ : L2VPN_STORE_STAT_READ_MISSED);
    else
        expect_event(code == 0 ? L2VPN_STORE_STAT_KEY_READ : L2VPN_STORE_STAT_KEY_READ_MISSED);
    expect_event(L2VPN_STORE_STAT_KEY_ITER_OPENED);
    expect_event(first == 0 ? L2VPN_STORE_STAT_DELIVERED : L2VPN_STORE_STAT_ITER_ENDED);
    expect_event(L2VPN_STORE_STAT_ITER_RELEASED);
}

// ---- Playing ----------------------------------------------------------------------------------

void RandomCalls::call() {
    const std::uint32_t number = any();
    const std::size_t choice = random_() % 100;
    const std::size_t key = random_() % keys_.size();
    const auto value = [&] { return TestRecords::key_value(keys_[key], random_version(number)); };
    if (choice < 38) {
        const bool grows = random_() % 100 < growth_;
        if (is_held(number) != grows && random_() % 8 != 0)
            remove(number);
        else if (random_() % 4 == 0)
            write_if(number, random_version(number));
        else
            write(number, random_version(number));
        if (!grows && is_held(number))
            remove(number);
    } else if (choice < 50) {
        update(number);
    } else if (choice < 57) {
        read(number);
    } else if (choice < 60) {
        read_many();
    } else if (choice < 68) {
        read_by(key, value());
    } else if (choice < 76) {
        count_by(key, value());
    } else if (choice < 78) {
        count();
    } else if (choice < 79) {
        compare_read_with_iterator(key, value());
    } else if (choice < 83) {
        if (open_.size() < max_open)
            open_some();
        else
            release(random_() % open_.size());
    } else if (choice < 97) {
        if (!open_.empty()) {
            Open &iterator = open_[random_() % open_.size()];
            if (random_() % 4 == 0)
                advance_by_many(iterator);
            else
                for (std::size_t steps = random_() % 8 + 1; steps != 0 && advance(iterator);)
                    --steps;
        }
    } else if (!open_.empty()) {
        const std::size_t at = random_() % open_.size();
        if (random_() % 4 == 0)
            while (!testing::Test::HasFailure() && advance(open_[at])) {
            }
        release(at);
    }
}

void RandomCalls::fill() {
    growth_ = 90;
    for (std::uint32_t number = share_.first; number < pool_.size(); number += share_.step) {
        if (random_() % 16 != 0)
            write(number, random_version(number));
        call();
        if (testing::Test::HasFailure())
            return;
    }
}

void RandomCalls::change_all(const TestRecords &contents) {
    for (std::uint32_t number = share_.first; number < pool_.size(); number += share_.step) {
        if (number % 2 == 0) {
            write(number, contents.make(number, 0));
        } else {
            update(number, contents.make(number, 0), 0);
        }
        if (testing::Test::HasFailure())
            return;
    }
}

void RandomCalls::play(std::uint32_t calls, std::uint32_t growth) {
    growth_ = growth;
    for (std::uint32_t i = 0; i < calls; ++i) {
        call();
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "in call " << i << " with growth " << growth;
            return;
        }
    }
}

void RandomCalls::check_everything() {
    count();
    for (std::uint32_t number = share_.first; number < pool_.size(); number += share_.step)
        read(number);
    for (std::size_t k = 0; k < keys_.size(); ++k) {
        // Iterators over some short chains are enough.
        std::size_t chains = 0;
        for (const auto &[value, numbers] : chains_[k]) {
            count_by(k, value);
            if (numbers.size() < 3 && ++chains > 200)
                continue;
            open(k, value);
            while (!testing::Test::HasFailure() && advance(open_.back())) {
            }
            release(open_.size() - 1);
        }
    }
    open(whole_table, {});
    while (!testing::Test::HasFailure() && advance(open_.back())) {
    }
    release(open_.size() - 1);
}

void RandomCalls::finish() {
    while (!open_.empty()) {
        while (!testing::Test::HasFailure() && advance(open_.back())) {
        }
        release(open_.size() - 1);
    }
    for (std::uint32_t number = share_.first; number < pool_.size(); number += share_.step)
        if (is_held(number))
            remove(number);
    count();
}

} // namespace l2vpn::test
