// SPDX-License-Identifier: MIT
// The exported store functions. Each checks its requests and calls the table; perform() counts the
// event and logs rejected calls.
#include <algorithm>

#include "l2vpn_db/platform.h"
#include "platform/store/reentrancy_guard.h"
#include "platform/store/registry.h"

namespace l2vpn::platform {

namespace {

Status rejected(std::uint32_t code) {
    if (code == L2VPN_STORE_NO_MEMORY)
        return out_of_memory;
    // The checks return no codes greater than those of key requests.
    return {code, code >= L2VPN_STORE_BAD_KEY_AREA ? L2VPN_STORE_STAT_BAD_KEY
                                                   : L2VPN_STORE_STAT_BAD_REQUEST};
}

/// Logs rejected calls and failed allocations, but not missing records, ends of iterations or codes
/// that a setter returned.
void report(const L2vpnDbModuleIntf *module, const char *operation,
            const L2vpnDbTblIntf *descriptor, Status status) {
    const std::uint32_t code = status.code;
    if (code <= L2VPN_STORE_END || code > L2VPN_STORE_NO_MEMORY ||
        (status.event == L2VPN_STORE_STAT_UPDATE_REFUSED && code != L2VPN_STORE_KEY_CHANGED))
        return;
    log(module, "%s %s: rejected with 0x%X: %s", operation,
        descriptor != nullptr && descriptor->name != nullptr ? descriptor->name : "?", code,
        l2vpn_store_result_text(code));
}

/// Counts and logs the end of an operation. Returns the result code.
[[gnu::always_inline]] inline std::uint32_t finish(const char *operation,
                                                   const L2vpnDbModuleIntf *module,
                                                   const L2vpnDbTblIntf *descriptor, Table &table,
                                                   Status status, std::uint32_t amount = 1) {
    table.events().count(descriptor->stat, status.event, amount);
    if (status.code != L2VPN_DB_OK) [[unlikely]]
        report(module, operation, descriptor, status);
    return status.code;
}

/// Returns the table that the descriptor names; or null and the result code, logged.
[[gnu::always_inline]] inline Located enter(const char *operation, L2vpnDbModuleIntf *module,
                                            const L2vpnDbTblIntf *descriptor) {
    if (inside_store) [[unlikely]]
        return {nullptr, L2VPN_STORE_REENTERED}; // not logged: the log service may call the store
    const Located found = find_table(module, descriptor);
    if (found.table == nullptr) [[unlikely]] {
        if (found.code == L2VPN_STORE_NO_MEMORY && descriptor->stat != nullptr)
            descriptor->stat(L2VPN_STORE_STAT_NO_MEMORY, 1);
        report(module, operation, descriptor, rejected(found.code));
    }
    return found;
}

/// Runs one operation on the table that the descriptor names.
template <class Work>
[[gnu::always_inline]] inline std::uint32_t perform(const char *operation,
                                                    L2vpnDbModuleIntf *module,
                                                    const L2vpnDbTblIntf *descriptor, Work work) {
    const Located target = enter(operation, module, descriptor);
    return target.table == nullptr
               ? target.code
               : finish(operation, module, descriptor, *target.table, work(*target.table));
}

/// Checks a read's requests.
inline std::uint32_t check_read(const Table &table, const L2vpnDbKeyData *key,
                                const L2vpnDbRecData *record, CheckedKey &checked) {
    const std::uint32_t code = check_key(table.indexes(), key, checked);
    return code == L2VPN_DB_OK ? check_record(table.stored_length(), record) : code;
}

} // namespace

} // namespace l2vpn::platform

using namespace l2vpn::platform;

std::uint32_t DAL_VELD_Write(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             const L2vpnDbRecData *record) {
    return perform("write to", module, table, [&](Table &target) {
        const std::uint32_t code = check_record(target.stored_length(), record);
        return code == L2VPN_DB_OK
                   ? target.write(Allocator(module), static_cast<const char *>(record->data))
                   : rejected(code);
    });
}

std::uint32_t L2VPN_STORE_WriteIf(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                  const L2vpnDbRecData *expected, const L2vpnDbRecData *record) {
    return perform("conditional write to", module, table, [&](Table &target) {
        std::uint32_t code = check_record(target.stored_length(), record);
        if (code == L2VPN_DB_OK && expected != nullptr)
            code = check_record(target.stored_length(), expected);
        if (code != L2VPN_DB_OK)
            return rejected(code);
        return target.write_if(
            Allocator(module),
            static_cast<const char *>(expected != nullptr ? expected->data : nullptr),
            static_cast<const char *>(record->data));
    });
}

std::uint32_t DAL_VELD_Read(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                            const L2vpnDbKeyData *key, L2vpnDbRecData *record) {
    return perform("read from", module, table, [&](Table &target) {
        CheckedKey checked{};
        const std::uint32_t code = check_read(target, key, record, checked);
        return code == L2VPN_DB_OK ? target.read(*checked.index, checked.probe(), record->data)
                                   : rejected(code);
    });
}

std::uint32_t L2VPN_STORE_ReadMany(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                   const L2vpnDbKeyData *keys, const L2vpnDbRecData *records,
                                   std::uint32_t count, std::uint32_t *codes) {
    constexpr const char *operation = "read of many from";
    constexpr std::uint32_t batch = 16; // enough to overlap the cache misses of a processor
    struct Read {
        const Index *index;
        Probe<PackedKey> probe;
        std::uint32_t code;
    };
    const auto reject = [&](std::uint32_t code) {
        if (codes != nullptr)
            std::fill_n(codes, count, code);
        return code;
    };
    const auto [target, unavailable] = enter(operation, module, table);
    if (target == nullptr)
        return reject(unavailable);
    if (count != 0 && (keys == nullptr || records == nullptr))
        return reject(
            finish(operation, module, table, *target, rejected(L2VPN_STORE_NULL_POINTER)));
    std::uint32_t result = L2VPN_DB_OK;
    for (std::uint32_t first = 0, size = 0; first < count; first += size) {
        size = std::min(count - first, batch);
        Read reads[batch];
        for (std::uint32_t i = 0; i < size; ++i) {
            Read &read = reads[i];
            CheckedKey checked{};
            read.code = check_read(*target, &keys[first + i], &records[first + i], checked);
            if (read.code != L2VPN_DB_OK)
                continue;
            read.index = checked.index;
            read.probe = checked.probe();
            read.index->prefetch_entry(read.probe.hash);
        }
        for (std::uint32_t i = 0; i < size; ++i)
            if (reads[i].code == L2VPN_DB_OK)
                target->prefetch_record(*reads[i].index, reads[i].probe.hash);
        for (std::uint32_t i = 0; i < size; ++i) {
            const Read &read = reads[i];
            const Status status = read.code == L2VPN_DB_OK ? target->read(*read.index, read.probe,
                                                                          records[first + i].data)
                                                           : rejected(read.code);
            const std::uint32_t code = finish(operation, module, table, *target, status);
            if (codes != nullptr)
                codes[first + i] = code;
            if (result == L2VPN_DB_OK)
                result = code;
        }
    }
    return result;
}

std::uint32_t DAL_VELD_Update(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key, const L2vpnDbRecData *record,
                              const L2vpnDbUpdData *update) {
    return perform("update of", module, table, [&](Table &target) {
        CheckedKey checked{};
        std::uint32_t code = check_primary_key(target.indexes(), key, checked);
        // The setter checks the record's length and the field ids.
        if (code == L2VPN_DB_OK &&
            (record == nullptr || record->data == nullptr || update == nullptr ||
             update->setFields == nullptr || table->createObject == nullptr ||
             table->releaseObject == nullptr || table->setAllFields == nullptr))
            code = L2VPN_STORE_NULL_POINTER;
        return code == L2VPN_DB_OK ? target.update(module, *table, checked, *record, *update)
                                   : rejected(code);
    });
}

std::uint32_t DAL_VELD_Delete(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *key) {
    return perform("delete from", module, table, [&](Table &target) {
        CheckedKey checked{};
        const std::uint32_t code = check_primary_key(target.indexes(), key, checked);
        return code == L2VPN_DB_OK ? target.remove(checked) : rejected(code);
    });
}

L2vpnDbIter *DAL_VELD_CreateIterator(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table) {
    L2vpnDbIter *handle = nullptr;
    perform("iterator over", module, table,
            [&](Table &target) { return target.open(Allocator(module), nullptr, handle); });
    return handle;
}

L2vpnDbIter *DAL_VELD_CreateIteratorByKey(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                          const L2vpnDbKeyData *key) {
    L2vpnDbIter *handle = nullptr;
    perform("iterator over a key of", module, table, [&](Table &target) {
        CheckedKey checked{};
        const std::uint32_t code = check_key(target.indexes(), key, checked);
        return code == L2VPN_DB_OK ? target.open(Allocator(module), &checked, handle)
                                   : rejected(code);
    });
    return handle;
}

std::uint32_t DAL_VELD_GetNextEntry(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                    L2vpnDbIter *iter, L2vpnDbRecData *record) {
    return perform("next record of", module, table, [&](Table &target) {
        const std::uint32_t code = check_record(target.stored_length(), record);
        std::uint32_t delivered = 0;
        return code == L2VPN_DB_OK ? target.next(iter, record->data, 1, delivered) : rejected(code);
    });
}

std::uint32_t L2VPN_STORE_NextMany(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                   L2vpnDbIter *iter, const L2vpnDbRecData *first,
                                   std::uint32_t capacity, std::uint32_t *delivered) {
    constexpr const char *operation = "next records of";
    if (delivered != nullptr)
        *delivered = 0;
    const auto [target, unavailable] = enter(operation, module, table);
    if (target == nullptr)
        return unavailable;
    std::uint32_t code = check_record(target->stored_length(), first);
    if (code == L2VPN_DB_OK && delivered == nullptr)
        code = L2VPN_STORE_NULL_POINTER;
    if (code != L2VPN_DB_OK)
        return finish(operation, module, table, *target, rejected(code));
    const Status status = target->next(iter, first->data, capacity, *delivered);
    return finish(operation, module, table, *target, status,
                  status.code == L2VPN_DB_OK ? *delivered : 1);
}

std::uint32_t DAL_VELD_ReleaseIterator(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                       L2vpnDbIter *iter) {
    return perform("release of an iterator over", module, table,
                   [&](Table &target) { return target.release(iter); });
}

std::uint32_t DAL_VELD_Count(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             std::uint32_t *count) {
    return perform("count of", module, table, [&](Table &target) {
        return count != nullptr ? target.count(*count) : rejected(L2VPN_STORE_NULL_POINTER);
    });
}

std::uint32_t DAL_VELD_CountByKey(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                  const L2vpnDbKeyData *key, std::uint32_t *count) {
    return perform("count by a key of", module, table, [&](Table &target) {
        CheckedKey checked{};
        std::uint32_t code = check_key(target.indexes(), key, checked);
        if (code == L2VPN_DB_OK && count == nullptr)
            code = L2VPN_STORE_NULL_POINTER;
        return code == L2VPN_DB_OK ? target.count_by(checked, *count) : rejected(code);
    });
}
