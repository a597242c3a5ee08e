// SPDX-License-Identifier: MIT
#include "tests/support/recording_platform.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

#include "platform/store/record_object_functions.h"

namespace l2vpn::test {

namespace {

std::mutex platform_lock;

/// Whether this thread has fetched the module interface since its last store call.
thread_local bool module_fetched = false;

/// Calls the library's L2VPN_DB_ModuleIntf, which the one below interposes.
L2vpnDbModuleIntf *module_of_library() {
    static auto *const function =
        reinterpret_cast<decltype(&L2VPN_DB_ModuleIntf)>(dlsym(RTLD_NEXT, "L2VPN_DB_ModuleIntf"));
    return function();
}

KeyCopy copy_key(const L2vpnDbKeyData *key) {
    KeyCopy copy{key, *key, {}, {}};
    if (key->keyId != nullptr) {
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(key->keyId);
        copy.id.assign(bytes, bytes + L2VPN_DB_KEY_ID_LENGTH);
    }
    if (key->key != nullptr) {
        const auto *bytes = static_cast<const std::uint8_t *>(key->key);
        copy.value.assign(bytes, bytes + key->keyLength);
    }
    return copy;
}

RecordCopy copy_record(const L2vpnDbRecData *record) {
    const auto *bytes = static_cast<const std::uint8_t *>(record->data);
    return {*record, Bytes(bytes, bytes + record->length)};
}

UpdateCopy copy_update(const L2vpnDbUpdData *update) {
    UpdateCopy copy{*update, {}};
    if (update->fieldIds != nullptr) {
        copy.ids.assign(update->fieldIds, update->fieldIds + update->fieldCount);
    }
    return copy;
}

StoreCall call_of(Op op, L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table) {
    StoreCall call;
    call.op = op;
    call.module = module;
    call.table = table;
    return call;
}

StoreCall call_with_key(Op op, L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                        const L2vpnDbKeyData *key) {
    StoreCall call = call_of(op, module, table);
    call.key = copy_key(key);
    return call;
}

void record_call(const StoreCall &call) {
    EXPECT_TRUE(std::exchange(module_fetched, false));
    EXPECT_EQ(call.module, module_of_library());
    EXPECT_EQ(call.table, platform().table);
    {
        const std::lock_guard guard(platform_lock);
        platform().calls.push_back(call);
    }
    if (platform().during_call) {
        platform().during_call(call);
    }
}

std::uint32_t deliver(const StoreCall &call) {
    const Bytes &bytes = platform().delivered;
    EXPECT_LE(bytes.size(), call.record->request.length);
    if (!bytes.empty()) {
        std::memcpy(call.record->request.data, bytes.data(), bytes.size());
    }
    return platform().result;
}

std::uint32_t answer_count(std::uint32_t *count) {
    if (platform().count && count != nullptr) {
        *count = *platform().count;
    }
    return platform().result;
}

void record_object_call(const ObjectCall &call) {
    const std::lock_guard guard(platform_lock);
    platform().objects.push_back(call);
}

/// The programmed result of the call with this number.
std::optional<int> result_of(const std::map<std::size_t, int> &results, std::size_t number) {
    const auto found = results.find(number);
    return found == results.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

RecordingPlatform &platform() {
    static RecordingPlatform instance;
    return instance;
}

void reset_platform() {
    platform() = {};
}

} // namespace l2vpn::test

using namespace l2vpn::test;

extern "C" {

L2vpnDbModuleIntf *L2VPN_DB_ModuleIntf() {
    module_fetched = true;
    return module_of_library();
}

std::uint32_t DAL_VELD_Write(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             const L2vpnDbRecData *record) {
    StoreCall call = call_of(Op::write, module, table);
    call.record = copy_record(record);
    record_call(call);
    return platform().result;
}

std::uint32_t DAL_VELD_Read(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                            const L2vpnDbKeyData *key, L2vpnDbRecData *record) {
    StoreCall call = call_with_key(Op::read, module, table, key);
    call.record = copy_record(record);
    record_call(call);
    return deliver(call);
}

std::uint32_t DAL_VELD_Update(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key, const L2vpnDbRecData *record,
                              const L2vpnDbUpdData *update) {
    StoreCall call = call_with_key(Op::update, module, table, key);
    call.record = copy_record(record);
    call.update = copy_update(update);
    record_call(call);
    return platform().during_update ? platform().during_update(record, update) : platform().result;
}

std::uint32_t DAL_VELD_Delete(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key) {
    record_call(call_with_key(Op::remove, module, table, key));
    return platform().result;
}

L2vpnDbIter *DAL_VELD_CreateIterator(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table) {
    record_call(call_of(Op::create_iterator, module, table));
    return platform().iterator;
}

L2vpnDbIter *DAL_VELD_CreateIteratorByKey(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                          const L2vpnDbKeyData *key) {
    record_call(call_with_key(Op::create_iterator_by_key, module, table, key));
    return platform().iterator;
}

std::uint32_t DAL_VELD_GetNextEntry(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                    L2vpnDbIter *iter, L2vpnDbRecData *record) {
    StoreCall call = call_of(Op::get_next_entry, module, table);
    call.iterator = iter;
    call.record = copy_record(record);
    record_call(call);
    return deliver(call);
}

std::uint32_t DAL_VELD_ReleaseIterator(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                       L2vpnDbIter *iter) {
    StoreCall call = call_of(Op::release_iterator, module, table);
    call.iterator = iter;
    record_call(call);
    return platform().result;
}

std::uint32_t DAL_VELD_Count(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             std::uint32_t *count) {
    StoreCall call = call_of(Op::count, module, table);
    call.count = count;
    record_call(call);
    return answer_count(count);
}

std::uint32_t DAL_VELD_CountByKey(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                  const L2vpnDbKeyData *key, std::uint32_t *count) {
    StoreCall call = call_with_key(Op::count_by_key, module, table, key);
    call.count = count;
    record_call(call);
    return answer_count(count);
}

std::uint32_t ZAV_AtomicAdd(std::uint32_t *counter, std::uint32_t amount) {
    {
        const std::lock_guard guard(platform_lock);
        platform().adds.push_back({counter, amount});
    }
    return std::atomic_ref(*counter).fetch_add(amount) + amount;
}

int memcpy_s(void *destination, std::size_t destinationSize, const void *source,
             std::size_t count) {
    std::size_t number = 0;
    {
        const std::lock_guard guard(platform_lock);
        number = platform().copies.size();
        platform().copies.push_back({destination, destinationSize, source, count});
    }
    if (platform().during_copy) {
        platform().during_copy();
    }
    if (const auto failure = result_of(platform().copy_failures, number)) {
        return *failure;
    }
    if (destination == nullptr || source == nullptr || count > destinationSize) {
        ADD_FAILURE() << "memcpy_s: invalid arguments";
        return 1;
    }
    std::memcpy(destination, source, count);
    return 0;
}

int sprintf_s(char *destination, std::size_t destinationSize, const char *format, ...) {
    const std::lock_guard guard(platform_lock);
    if (destination == nullptr || destinationSize == 0 || format == nullptr) {
        ADD_FAILURE() << "sprintf_s: invalid arguments";
        return -1;
    }
    const std::size_t number = platform().prints.size();
    platform().prints.push_back({destination, destinationSize, format});
    if (const auto result = result_of(platform().print_results, number)) {
        if (*result <= 0)
            *destination = '\0';
        return *result;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(destination, destinationSize, format, arguments);
    va_end(arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= destinationSize) {
        *destination = '\0';
        return -1;
    }
    return length;
}

} // extern "C"

namespace l2vpn::platform {

namespace {

std::array<char, 1> created_object;

} // namespace

L2vpnDbRecObj *create_object(L2vpnDbModuleIntf *module, const TableLayout &table) {
    EXPECT_EQ(module, module_of_library());
    record_object_call({ObjectOp::create, table.name, created_object.data()});
    return reinterpret_cast<L2vpnDbRecObj *>(created_object.data());
}

void release_object(L2vpnDbModuleIntf *module, const TableLayout &table, L2vpnDbRecObj *object) {
    EXPECT_EQ(module, module_of_library());
    record_object_call({ObjectOp::release, table.name, object});
}

void reset_object(L2vpnDbModuleIntf *module, const TableLayout &table, L2vpnDbRecObj *object) {
    EXPECT_EQ(module, module_of_library());
    record_object_call({ObjectOp::reset, table.name, object});
}

std::uint32_t set_all_fields(const TableLayout &table, L2vpnDbRecObj *object,
                             const L2vpnDbRecData *record) {
    record_object_call({ObjectOp::set_all_fields, table.name, object, record->length});
    return test::platform().result;
}

std::uint32_t set_batch_version(const TableLayout &table, L2vpnDbRecObj *object,
                                std::uint32_t value) {
    const std::lock_guard guard(platform_lock);
    auto &objects = test::platform().objects;
    const auto &results = test::platform().setter_results;
    const std::size_t number = objects.size();
    objects.push_back({ObjectOp::set_batch_version, table.name, object, value});
    return number < results.size() ? results[number] : 0;
}

} // namespace l2vpn::platform
