// SPDX-License-Identifier: MIT
//
// A minimal platform: a table store and its record objects. Each table is a map by primary key, a
// search scans all records, one mutex guards everything. The build derives the table-specific parts
// from the catalog: table_layouts, with the places of key members in stored records, and the db_*
// functions, which call the five under "Record objects". memcpy_s, sprintf_s and ZAV_AtomicAdd come
// from src/platform/runtime.
#include <algorithm>
#include <cstring>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "l2vpn_db/memory_store.h" // the result codes that programs expect
#include "l2vpn_db/platform.h"
#include "platform/store/record_object_functions.h"

struct L2vpnDbRecObj { // a stored record under construction
    std::string bytes;
};
struct L2vpnDbIter { // copies of the records to deliver
    std::list<std::string> left;
};

namespace l2vpn::platform {

using Module = L2vpnDbModuleIntf;
using Table = L2vpnDbTblIntf;
using Key = const L2vpnDbKeyData;
using Data = const L2vpnDbRecData;

static std::mutex lock;
static std::map<std::string, std::map<std::string, std::string>> tables;
static std::map<L2vpnDbIter *, std::unique_ptr<L2vpnDbIter>> iterators;

// ---- Finding records ----------------------------------------------------------------------------

static std::string key_of(const std::string &table, std::size_t index, const std::string &record) {
    std::string key;
    const auto layout = std::ranges::find(table_layouts, table, &TableLayout::name);
    for (const KeyMember &member : layout->keys[index].members)
        key += record.substr(member.offset, member.width);
    return key;
}

/// The records with the key; all records if it is null.
static auto find(const Table *table, Key *key) {
    std::vector<std::pair<const std::string, std::string> *> found;
    for (auto &record : tables[table->name])
        if (key == nullptr || // the key index is the highest byte of the identifier word
            key_of(table->name, *key->keyId >> 24, record.second) ==
                std::string_view(static_cast<const char *>(key->key), key->keyLength))
            found.push_back(&record);
    return found;
}

static uint32_t on_first(const Table *table, Key *key, auto action) {
    const std::lock_guard guard(lock);
    const auto found = find(table, key);
    return found.empty() ? L2VPN_STORE_NOT_FOUND : action(*found.front());
}

// ---- Record objects -----------------------------------------------------------------------------

L2vpnDbRecObj *create_object(Module *, const TableLayout &table) {
    return new L2vpnDbRecObj{std::string(table.stored_length, '\0')};
}

void release_object(Module *, const TableLayout &, L2vpnDbRecObj *object) {
    delete object;
}

void reset_object(Module *, const TableLayout &table, L2vpnDbRecObj *object) {
    if (object != nullptr)
        object->bytes.assign(table.stored_length, '\0');
}

uint32_t set_all_fields(const TableLayout &, L2vpnDbRecObj *object, Data *record) {
    object->bytes.assign(static_cast<const char *>(record->data), record->length);
    return L2VPN_DB_OK;
}

uint32_t set_batch_version(const TableLayout &table, L2vpnDbRecObj *object, uint32_t value) {
    std::memcpy(object->bytes.data() + table.batch_version_offset, &value, sizeof value);
    return L2VPN_DB_OK;
}

} // namespace l2vpn::platform

using namespace l2vpn::platform;

// ---- The store ----------------------------------------------------------------------------------

uint32_t DAL_VELD_Write(Module *, Table *table, Data *record) {
    const std::string bytes(static_cast<const char *>(record->data), record->length);
    const std::lock_guard guard(lock);
    tables[table->name][key_of(table->name, 0, bytes)] = bytes;
    return L2VPN_DB_OK;
}

uint32_t DAL_VELD_Read(Module *, Table *table, Key *key, L2vpnDbRecData *record) {
    return on_first(table, key, [&](auto &found) {
        std::memcpy(record->data, found.second.data(), record->length);
        return L2VPN_DB_OK;
    });
}

uint32_t DAL_VELD_Update(Module *, Table *table, Key *key, Data *record,
                         const L2vpnDbUpdData *update) {
    return on_first(table, key, [&](auto &found) {
        L2vpnDbRecObj object{found.second}; // a copy, kept if the setter succeeds
        const auto code = update->setFields(record, &object, update->fieldIds, update->fieldCount);
        if (code == L2VPN_DB_OK)
            found.second = object.bytes;
        return code;
    });
}

uint32_t DAL_VELD_Delete(Module *, Table *table, Key *key) {
    return on_first(table, key, [&](auto &found) {
        tables[table->name].erase(found.first);
        return L2VPN_DB_OK;
    });
}

L2vpnDbIter *DAL_VELD_CreateIteratorByKey(Module *, Table *table, Key *key) {
    const std::lock_guard guard(lock);
    auto iterator = std::make_unique<L2vpnDbIter>();
    for (const auto *record : find(table, key))
        iterator->left.push_back(record->second);
    L2vpnDbIter *const handle = iterator.get();
    iterators[handle] = std::move(iterator);
    return handle;
}

L2vpnDbIter *DAL_VELD_CreateIterator(Module *module, Table *table) {
    return DAL_VELD_CreateIteratorByKey(module, table, nullptr);
}

uint32_t DAL_VELD_GetNextEntry(Module *, Table *, L2vpnDbIter *iter, L2vpnDbRecData *record) {
    const std::lock_guard guard(lock);
    if (!iterators.contains(iter))
        return L2VPN_STORE_BAD_ITERATOR;
    if (iter->left.empty())
        return L2VPN_STORE_END;
    std::memcpy(record->data, iter->left.front().data(), record->length);
    iter->left.pop_front();
    return L2VPN_DB_OK;
}

uint32_t DAL_VELD_ReleaseIterator(Module *, Table *, L2vpnDbIter *iter) {
    const std::lock_guard guard(lock);
    return iterators.erase(iter) == 1 ? L2VPN_DB_OK : L2VPN_STORE_BAD_ITERATOR;
}

uint32_t DAL_VELD_CountByKey(Module *, Table *table, Key *key, uint32_t *count) {
    const std::lock_guard guard(lock);
    *count = static_cast<uint32_t>(find(table, key).size());
    return L2VPN_DB_OK;
}

uint32_t DAL_VELD_Count(Module *module, Table *table, uint32_t *count) {
    return DAL_VELD_CountByKey(module, table, nullptr, count);
}
