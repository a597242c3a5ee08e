// SPDX-License-Identifier: MIT
#include "platform/store/table.h"

#include <memory>
#include <new>

#include "platform/store/record_object.h"

namespace l2vpn::platform {

Table::Table(const TableLayout &layout, const Arena &arena, std::span<Index> indexes,
             std::uint32_t number)
    : layout_(layout), indexes_(indexes), records_(layout.stored_length, indexes.size() - 1),
      stored_length_(layout.stored_length), arena_(arena), cursors_(number) {}

Table *Table::create(const Allocator &allocator, const TableLayout &layout, std::uint32_t number) {
    const std::size_t keys = layout.keys.size();
    std::size_t segments = 0;
    for (const KeyLayout &key : layout.keys)
        segments += max_segments(key);
    const std::size_t rounding = std::size_t{3} * 64;
    Arena arena;
    if (!arena.reserve(allocator, sizeof(Table) + keys * sizeof(Index) +
                                      segments * sizeof(KeySegment) + rounding))
        return nullptr;
    void *const table = arena.allocate(allocator, sizeof(Table));
    auto *const indexes = static_cast<Index *>(arena.allocate(allocator, keys * sizeof(Index)));
    auto *rest =
        static_cast<KeySegment *>(arena.allocate(allocator, segments * sizeof(KeySegment)));
    for (std::size_t k = 0; k < keys; ++k) {
        const KeyDefinition key = define_key(layout, k, rest);
        rest += key.rest.size();
        new (&indexes[k]) Index(key);
    }
    return new (table) Table(layout, arena, {indexes, keys}, number);
}

// ---- Readers ----------------------------------------------------------------------------------

[[gnu::flatten]] Status Table::read(const CheckedKey &key, void *record) {
    const Index &index = *key.index;
    const bool found =
        lock_.read([this, &index, hash = index.key().hash(key.value), value = key.value, record] {
            const Word *const words = index.find(records_, hash, value).words;
            if (words != nullptr)
                copy_out(record, words, stored_length_);
            return words != nullptr;
        });
    if (index.is_primary())
        return found ? ok(L2VPN_STORE_STAT_READ)
                     : Status{L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_READ_MISSED};
    return found ? ok(L2VPN_STORE_STAT_KEY_READ)
                 : Status{L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_KEY_READ_MISSED};
}

Status Table::count(std::uint32_t &count) const {
    count = load(count_);
    return ok(L2VPN_STORE_STAT_COUNTED);
}

Status Table::count_by(const CheckedKey &key, std::uint32_t &count) {
    count = lock_.read([this, &index = *key.index, hash = key.index->key().hash(key.value),
                        value = key.value] { return index.count(records_, hash, value); });
    return ok(L2VPN_STORE_STAT_KEY_COUNTED);
}

// ---- Writers ----------------------------------------------------------------------------------

Status Table::write(const Allocator &allocator, const char *record) {
    const SeqLock::WriteLock lock(lock_);
    const RecordId id = primary().stage(records_, record);
    if (id != no_record)
        return replace(allocator, id, record) ? ok(L2VPN_STORE_STAT_REPLACED) : out_of_memory;
    return insert(allocator, record) ? ok(L2VPN_STORE_STAT_INSERTED) : out_of_memory;
}

/// Inserts a record that the primary index has staged.
bool Table::insert(const Allocator &allocator, const char *record) {
    for (Index &index : secondary())
        index.stage(records_, record);
    const SeqLock::WriteSection section(lock_);
    if (!records_.reserve(allocator, arena_))
        return false;
    for (Index &index : indexes_)
        if (!index.reserve(allocator, arena_))
            return false;
    const RecordId id = records_.allocate();
    copy_in(records_.words(id), record, stored_length_);
    for (Index &index : indexes_)
        index.link(records_, id);
    store(count_, count_ + 1);
    return true;
}

/// Replaces the contents of a record; its primary key stays the same.
bool Table::replace(const Allocator &allocator, RecordId id, const char *record) {
    Word *const words = records_.words(id);
    bool changes = false;
    for (Index &index : secondary())
        changes |= index.stage_change(records_, record, words);
    const SeqLock::WriteSection section(lock_);
    if (!changes) {
        copy_in(words, record, stored_length_);
        return true;
    }
    for (Index &index : secondary())
        if (index.changes() && !index.reserve(allocator, arena_))
            return false;
    for (Index &index : secondary())
        if (index.changes())
            index.unlink(records_, id, index.key().hash(words));
    copy_in(words, record, stored_length_);
    for (Index &index : secondary())
        if (index.changes())
            index.link(records_, id);
    return true;
}

Status Table::remove(const CheckedKey &key) {
    const SeqLock::WriteLock lock(lock_);
    const Hash hash = primary().key().hash(key.value);
    const auto [id, words] = primary().find(records_, hash, key.value);
    if (id == no_record)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_DELETE_MISSED};
    const SeqLock::WriteSection section(lock_);
    for (Index &index : secondary())
        index.unlink(records_, id, index.key().hash(words));
    primary().unlink(records_, id, hash);
    records_.free(id);
    store(count_, count_ - 1);
    return ok(L2VPN_STORE_STAT_DELETED);
}

Status Table::update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor,
                     const CheckedKey &key, const L2vpnDbRecData &record,
                     const L2vpnDbUpdData &update) {
    const SeqLock::WriteLock lock(lock_);
    const RecordId id = primary().find(records_, primary().key().hash(key.value), key.value).id;
    if (id == no_record)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_UPDATE_MISSED};
    const auto release = [&](L2vpnDbRecObj *object) { descriptor.releaseObject(module, object); };
    const std::unique_ptr<L2vpnDbRecObj, decltype(release)> object(descriptor.createObject(module),
                                                                   release);
    if (object == nullptr)
        return out_of_memory;
    const L2vpnDbRecData stored{records_.words(id), stored_length_, 0};
    std::uint32_t code = descriptor.setAllFields(object.get(), &stored);
    if (code != L2VPN_DB_OK)
        return {code, L2VPN_STORE_STAT_BAD_REQUEST};
    code = update.setFields(&record, object.get(), update.fieldIds, update.fieldCount);
    if (code != L2VPN_DB_OK)
        return {code, L2VPN_STORE_STAT_UPDATE_REFUSED};
    const char *const changed = object->bytes();
    if (!primary().key().matches(changed, records_.words(id)))
        return {L2VPN_STORE_KEY_CHANGED, L2VPN_STORE_STAT_UPDATE_REFUSED};
    return replace(Allocator(module), id, changed) ? ok(L2VPN_STORE_STAT_UPDATED) : out_of_memory;
}

// ---- Iterators --------------------------------------------------------------------------------

Status Table::open(const Allocator &allocator, const CheckedKey *key, L2vpnDbIter *&handle) {
    const SeqLock::WriteLock lock(lock_);
    Cursor *const cursor = cursors_.allocate(allocator, arena_);
    if (cursor == nullptr)
        return out_of_memory;
    handle = cursors_.handle(*cursor);
    if (key != nullptr) {
        key->index->open(*cursor, records_, key->value);
        return ok(L2VPN_STORE_STAT_KEY_ITER_OPENED);
    }
    cursor->index = nullptr;
    cursor->next = 0;
    cursor->last = records_.end();
    cursor->last_sequence = records_.last_sequence();
    return ok(L2VPN_STORE_STAT_ITER_OPENED);
}

Status Table::next(L2vpnDbIter *handle, void *record) {
    const SeqLock::WriteLock lock(lock_);
    Cursor *const cursor = cursors_.find(handle);
    if (cursor == nullptr)
        return {L2VPN_STORE_BAD_ITERATOR, L2VPN_STORE_STAT_BAD_ITERATOR};
    const RecordId id =
        cursor->index != nullptr ? cursor->index->advance(*cursor, records_) : advance(*cursor);
    if (id == no_record)
        return {L2VPN_STORE_END, L2VPN_STORE_STAT_ITER_ENDED};
    copy_out(record, records_.words(id), stored_length_);
    return ok(L2VPN_STORE_STAT_DELIVERED);
}

/// Moves a cursor over the whole table. Returns the next record, no_record at the end.
RecordId Table::advance(Cursor &cursor) const {
    for (; cursor.next != cursor.last; ++cursor.next) {
        const Word sequence = records_.insert_sequence(cursor.next);
        if (sequence != 0 && sequence <= cursor.last_sequence)
            return cursor.next++;
    }
    return no_record;
}

Status Table::release(L2vpnDbIter *handle) {
    const SeqLock::WriteLock lock(lock_);
    Cursor *const cursor = cursors_.find(handle);
    if (cursor == nullptr)
        return {L2VPN_STORE_BAD_ITERATOR, L2VPN_STORE_STAT_BAD_ITERATOR};
    if (cursor->index != nullptr)
        cursor->index->close(*cursor);
    cursors_.free(*cursor);
    return ok(L2VPN_STORE_STAT_ITER_RELEASED);
}

} // namespace l2vpn::platform
