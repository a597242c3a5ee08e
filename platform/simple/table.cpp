// SPDX-License-Identifier: MIT
#include "platform/simple/table.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include "platform/base/record_bytes.h"

namespace l2vpn::platform {

namespace {

void append_key(std::string &to, const KeyLayout &key, std::string_view bytes) {
    for (const KeyMember &member : key.members) {
        to += bytes.substr(member.offset, member.width);
    }
}

void deliver(const Record &from, const L2vpnDbRecData &to) {
    std::memcpy(to.data, from.bytes.data(), from.bytes.size());
}

/// A handle that never comes again, so that a released one stays refused. Being odd, it is also
/// never the address of a control block.
L2vpnDbIter *new_handle() {
    static std::atomic<std::uintptr_t> last{1};
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<L2vpnDbIter *>(last.fetch_add(2, std::memory_order_relaxed));
}

} // namespace

Outcome Table::write(const L2vpnDbRecData &record) {
    const std::lock_guard lock(mutex_);
    const bool replaced = put({static_cast<const char *>(record.data), record.length});
    return {replaced ? L2VPN_STORE_STAT_REPLACED : L2VPN_STORE_STAT_INSERTED};
}

Outcome Table::read(const Key &key, const L2vpnDbRecData &record) {
    const bool primary = key.index == 0;
    const std::lock_guard lock(mutex_);
    const std::shared_ptr<Record> found = find(key);
    if (found == nullptr) {
        return {primary ? L2VPN_STORE_STAT_READ_MISSED : L2VPN_STORE_STAT_KEY_READ_MISSED,
                L2VPN_STORE_NOT_FOUND};
    }
    deliver(*found, record);
    return {primary ? L2VPN_STORE_STAT_READ : L2VPN_STORE_STAT_KEY_READ};
}

Outcome Table::update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor, const Key &key,
                      const L2vpnDbRecData &caller_record, const L2vpnDbUpdData &request) {
    const std::lock_guard lock(mutex_);
    const std::shared_ptr<Record> found = find(key);
    if (found == nullptr) {
        return {L2VPN_STORE_STAT_UPDATE_MISSED, L2VPN_STORE_NOT_FOUND};
    }
    const auto release = [&](L2vpnDbRecObj *object) { descriptor.releaseObject(module, object); };
    const std::unique_ptr<L2vpnDbRecObj, decltype(release)> object(descriptor.createObject(module),
                                                                   release);
    if (object == nullptr) {
        return refused(L2VPN_STORE_NO_MEMORY);
    }
    const L2vpnDbRecData stored{found->bytes.data(), layout_.stored_length, 0};
    if (const std::uint32_t code = descriptor.setAllFields(object.get(), &stored);
        code != L2VPN_DB_OK) {
        return refused(code);
    }
    if (const std::uint32_t code =
            request.setFields(&caller_record, object.get(), request.fieldIds, request.fieldCount);
        code != L2VPN_DB_OK) {
        return {L2VPN_STORE_STAT_UPDATE_REFUSED, code};
    }
    if (entry(0, object->bytes) != key.value) {
        return refused(L2VPN_STORE_BAD_KEY);
    }
    put(object->bytes);
    return {L2VPN_STORE_STAT_UPDATED};
}

Outcome Table::remove(const Key &key) {
    const std::lock_guard lock(mutex_);
    const std::shared_ptr<Record> found = find(key);
    if (found == nullptr) {
        return {L2VPN_STORE_STAT_DELETE_MISSED, L2VPN_STORE_NOT_FOUND};
    }
    erase(found);
    return {L2VPN_STORE_STAT_DELETED};
}

Outcome Table::open(const Key &key, L2vpnDbIter *&handle) {
    Cursor cursor{key.index, std::string(key.value), {}, false};
    L2vpnDbIter *const opened = new_handle();
    const std::lock_guard lock(mutex_);
    cursors_.emplace(opened, std::move(cursor));
    handle = opened;
    return {key.value.empty() ? L2VPN_STORE_STAT_ITER_OPENED : L2VPN_STORE_STAT_KEY_ITER_OPENED};
}

Outcome Table::next(const L2vpnDbIter *handle, const L2vpnDbRecData &record) {
    const std::lock_guard lock(mutex_);
    const auto found = cursors_.find(handle);
    if (found == cursors_.end()) {
        return refused(L2VPN_STORE_BAD_ITERATOR);
    }
    Cursor &cursor = found->second;
    const Index &index = indexes_[cursor.index];
    const auto at =
        cursor.last.empty() ? index.lower_bound(cursor.prefix) : index.upper_bound(cursor.last);
    cursor.ended |= at == index.end() || !at->first.starts_with(cursor.prefix);
    if (cursor.ended) {
        return {L2VPN_STORE_STAT_ITER_ENDED, L2VPN_STORE_END};
    }
    cursor.last = at->first;
    deliver(*at->second, record);
    return {L2VPN_STORE_STAT_DELIVERED};
}

Outcome Table::release(const L2vpnDbIter *handle) {
    const std::lock_guard lock(mutex_);
    return cursors_.erase(handle) == 1 ? Outcome{L2VPN_STORE_STAT_ITER_RELEASED}
                                       : refused(L2VPN_STORE_BAD_ITERATOR);
}

Outcome Table::count(const Key &key, std::uint32_t &result) {
    const std::lock_guard lock(mutex_);
    const Index &index = indexes_[key.index];
    if (key.value.empty()) {
        result = static_cast<std::uint32_t>(index.size());
        return {L2VPN_STORE_STAT_COUNTED};
    }
    const auto first = index.lower_bound(key.value);
    const auto last = std::find_if_not(
        first, index.end(), [&](const auto &item) { return item.first.starts_with(key.value); });
    result = static_cast<std::uint32_t>(std::distance(first, last));
    return {L2VPN_STORE_STAT_KEY_COUNTED};
}

std::string Table::entry(std::size_t index, std::string_view bytes) const {
    std::string result;
    append_key(result, layout_.keys[index], bytes);
    if (index != 0) {
        append_key(result, layout_.keys[0], bytes);
    }
    return result;
}

std::shared_ptr<Record> Table::find(const Key &key) const {
    const Index &index = indexes_[key.index];
    const auto at = index.lower_bound(key.value);
    return at != index.end() && at->first.starts_with(key.value) ? at->second : nullptr;
}

/// Inserts the record, or replaces the one with the same primary key; true if there was one.
bool Table::put(std::string_view bytes) {
    // Everything that needs memory is made aside first; what follows cannot fail.
    const auto record = std::make_shared<Record>(Record{std::string(bytes), {}});
    record->entries.reserve(indexes_.size());
    std::vector<Index> fresh(indexes_.size());
    for (std::size_t i = 0; i < fresh.size(); ++i) {
        record->entries.push_back(fresh[i].emplace(entry(i, bytes), record).first);
    }
    const std::shared_ptr<Record> old = find({0, record->entries[0]->first});
    if (old != nullptr) {
        erase(old);
    }
    for (std::size_t i = 0; i < fresh.size(); ++i) {
        indexes_[i].merge(fresh[i]);
    }
    return old != nullptr;
}

void Table::erase(const std::shared_ptr<Record> &record) {
    for (std::size_t i = 0; i < indexes_.size(); ++i) {
        indexes_[i].erase(record->entries[i]);
    }
}

} // namespace l2vpn::platform
