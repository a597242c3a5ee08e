// SPDX-License-Identifier: MIT
#include "platform/store/table.h"

#include <algorithm>
#include <memory>
#include <new>

#include "platform/store/record_object.h"

namespace l2vpn::platform {

namespace {

/// How many records an iterator delivers before it lets writers proceed, and how many batches of
/// records that were inserted later it skips.
constexpr std::uint32_t delivery_batch = 32;
/// How often it looks for the next record among 64 slots before that.
constexpr std::uint32_t max_looks = 1024;

} // namespace

Table::Table(const TableLayout &layout, const Arena &arena, std::span<Index> indexes,
             std::uint32_t number)
    : layout_(layout), indexes_(indexes), records_(layout.stored_length, indexes.size() - 1),
      stored_length_(layout.stored_length), arena_(arena), cursors_(number) {}

Table *Table::create(const Allocator &allocator, const TableLayout &layout, std::uint32_t number) {
    const std::size_t keys = layout.keys.size();
    std::size_t segments = 0;
    for (const KeyLayout &key : layout.keys)
        segments += max_segments(key);
    // One allocation, so that a failed creation loses nothing.
    static_assert(sizeof(Table) % alignof(Index) == 0 && alignof(Index) % alignof(KeySegment) == 0);
    Arena arena;
    auto *const memory = static_cast<char *>(arena.allocate(
        allocator, sizeof(Table) + keys * sizeof(Index) + segments * sizeof(KeySegment)));
    if (memory == nullptr)
        return nullptr;
    auto *const indexes = reinterpret_cast<Index *>(memory + sizeof(Table));
    auto *rest = reinterpret_cast<KeySegment *>(indexes + keys);
    for (std::size_t k = 0; k < keys; ++k) {
        const KeyDefinition key = define_key(layout, k, rest);
        rest += key.rest.size();
        new (&indexes[k]) Index(key);
    }
    return new (memory) Table(layout, arena, {indexes, keys}, number);
}

// ---- Readers ----------------------------------------------------------------------------------

bool Table::copy_record_slow(const Index &index, PackedKey key, void *record) {
    const Probe probe = index.key().probe(key);
    return lock_.read_slow([&] { return copy_record(index, probe, record); });
}

Status Table::count(std::uint32_t &count) const {
    count = load(count_);
    return ok(L2VPN_STORE_STAT_COUNTED);
}

Status Table::count_by(const CheckedKey &key, std::uint32_t &count) {
    count = lock_.read([&] { return key.index->count(records_, key.value); });
    return ok(L2VPN_STORE_STAT_KEY_COUNTED);
}

// ---- Writers ----------------------------------------------------------------------------------

/// Writes a record that the primary index has staged; `id` is the stored one, or no_record.
[[gnu::always_inline]] inline Status Table::insert_or_replace(const Allocator &allocator,
                                                              RecordId id, const char *record) {
    if (id != no_record)
        return replace(allocator, id, record) ? ok(L2VPN_STORE_STAT_REPLACED) : out_of_memory;
    return insert(allocator, record) ? ok(L2VPN_STORE_STAT_INSERTED) : out_of_memory;
}

Status Table::write(const Allocator &allocator, const char *record) {
    const SeqLock::WriteLock lock(lock_);
    return insert_or_replace(allocator, primary().stage(records_, record), record);
}

Status Table::write_if(const Allocator &allocator, const char *expected, const char *record) {
    constexpr Status conflict{L2VPN_STORE_CONFLICT, L2VPN_STORE_STAT_UPDATE_REFUSED};
    const SeqLock::WriteLock lock(lock_);
    const RecordId id = primary().stage(records_, record);
    if ((id != no_record) != (expected != nullptr) ||
        (id != no_record && std::memcmp(records_.words(id), expected, stored_length_) != 0))
        return conflict;
    return insert_or_replace(allocator, id, record);
}

/// Inserts a record that the primary index has staged.
bool Table::insert(const Allocator &allocator, const char *record) {
    for (Index &index : secondary())
        index.stage(records_, record);
    if (!records_.reserve(allocator, arena_))
        return false;
    for (Index &index : indexes_)
        if (!index.reserve(allocator, arena_, lock_))
            return false;
    const RecordId id = records_.allocate(record);
    const SeqLock::WriteSection section(lock_);
    for (Index &index : indexes_)
        index.link(records_, id);
    store(count_, count_ + 1);
    return true;
}

/// Replaces the contents of a record; its primary key stays the same.
bool Table::replace(const Allocator &allocator, RecordId id, const char *record) {
    Word *const words = records_.words(id);
    for (Index &index : secondary())
        if (index.stage_change(records_, record, words) && !index.reserve(allocator, arena_, lock_))
            return false;
    for (Index &index : secondary())
        if (index.changes())
            index.stage_unlink(records_, cursors_, id);
    const SeqLock::WriteSection section(lock_);
    for (Index &index : secondary())
        if (index.changes())
            index.unlink(records_, id);
    copy_in(words, record, stored_length_);
    for (Index &index : secondary())
        if (index.changes())
            index.link(records_, id);
    return true;
}

Status Table::remove(const CheckedKey &key) {
    const SeqLock::WriteLock lock(lock_);
    const RecordId id = primary().find(records_, key.probe()).id;
    if (id == no_record)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_DELETE_MISSED};
    for (Index &index : indexes_)
        index.stage_unlink(records_, cursors_, id);
    {
        const SeqLock::WriteSection section(lock_);
        for (Index &index : indexes_)
            index.unlink(records_, id);
        store(count_, count_ - 1);
    }
    records_.free(id);
    return ok(L2VPN_STORE_STAT_DELETED);
}

// The setter runs without a lock, on a copy of the record: it may call the store, and nothing waits
// for it, even if it does not return.
Status Table::update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor,
                     const CheckedKey &key, const L2vpnDbRecData &record,
                     const L2vpnDbUpdData &update) {
    const auto release = [&](L2vpnDbRecObj *object) {
        const ReentrancyGuard guard; // calls the memory service
        descriptor.releaseObject(module, object);
    };
    const auto create = [&] {
        const ReentrancyGuard guard;
        return descriptor.createObject(module);
    };
    const std::unique_ptr<L2vpnDbRecObj, decltype(release)> object(create(), release);
    if (object == nullptr)
        return out_of_memory;
    if (object->table != &layout_) // the descriptor has another table's functions
        return {L2VPN_STORE_BAD_OBJECT, L2VPN_STORE_STAT_BAD_REQUEST};
    if (read(primary(), key.probe(), object->bytes()).code != L2VPN_DB_OK)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_UPDATE_MISSED};
    const L2vpnDbRecData stored{object->bytes(), stored_length_, 0};
    std::uint32_t code = descriptor.setAllFields(object.get(), &stored);
    if (code != L2VPN_DB_OK)
        return {code, L2VPN_STORE_STAT_BAD_REQUEST};
    object->changed = L2vpnDbRecObj::Changed::nothing;
    code = update.setFields(&record, object.get(), update.fieldIds, update.fieldCount);
    if (code != L2VPN_DB_OK)
        return {code, L2VPN_STORE_STAT_UPDATE_REFUSED};
    return change(Allocator(module), key, *object);
}

/// Applies what a setter has changed in a record object to the record as it is now.
Status Table::change(const Allocator &allocator, const CheckedKey &key, L2vpnDbRecObj &object) {
    const SeqLock::WriteLock lock(lock_);
    const auto [id, words] = primary().find(records_, key.probe());
    if (id == no_record)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_UPDATE_MISSED};
    object.merge(words);
    const char *const changed = object.bytes();
    if (!primary().key().matches(changed, words))
        return {L2VPN_STORE_KEY_CHANGED, L2VPN_STORE_STAT_UPDATE_REFUSED};
    return replace(allocator, id, changed) ? ok(L2VPN_STORE_STAT_UPDATED) : out_of_memory;
}

// ---- Iterators --------------------------------------------------------------------------------

Status Table::open(const Allocator &allocator, const CheckedKey *key, L2vpnDbIter *&handle) {
    const SeqLock::WriteLock lock(lock_);
    Cursor *const cursor = cursors_.allocate(allocator, arena_);
    if (cursor == nullptr)
        return out_of_memory;
    handle = cursors_.handle(*cursor);
    if (key != nullptr) {
        key->index->open(*cursor, cursors_, records_, key->value);
        return ok(L2VPN_STORE_STAT_KEY_ITER_OPENED);
    }
    cursor->index = nullptr;
    cursor->next = 0;
    cursor->last = records_.end();
    cursor->last_sequence = records_.last_sequence();
    return ok(L2VPN_STORE_STAT_ITER_OPENED);
}

Status Table::next(L2vpnDbIter *handle, void *records, std::uint32_t capacity,
                   std::uint32_t &delivered) {
    auto *to = static_cast<char *>(records);
    delivered = 0;
    bool at_end = false;
    do {
        const SeqLock::WriteLock lock(lock_); // for one batch, so that writers need not wait long
        Cursor *const cursor = cursors_.find(handle);
        if (cursor == nullptr && delivered == 0)
            return {L2VPN_STORE_BAD_ITERATOR, L2VPN_STORE_STAT_BAD_ITERATOR};
        if (cursor == nullptr) // another thread has just released it
            break;
        RecordId ids[delivery_batch];
        const std::span batch =
            std::span(ids).first(std::min(capacity - delivered, delivery_batch));
        std::uint32_t count = 0;
        std::uint32_t looks = max_looks;
        for (std::uint32_t n = 0; n < delivery_batch && count == 0 && !at_end && looks != 0; ++n)
            count = advance(*cursor, batch, looks, at_end);
        for (const RecordId id : batch.first(count)) {
            copy_out(to, records_.words(id), stored_length_);
            to += stored_length_;
        }
        delivered += count;
        records_.prefetch(cursor->next);
    } while (!at_end && delivered < capacity);
    if (at_end && delivered == 0)
        return {L2VPN_STORE_END, L2VPN_STORE_STAT_ITER_ENDED};
    return ok(L2VPN_STORE_STAT_DELIVERED);
}

/// Moves a cursor over as many records as `ids` has room for. Returns how many of them it delivers:
/// fewer at the end, after many free slots, or if records have been inserted since its creation.
std::uint32_t Table::advance(Cursor &cursor, std::span<RecordId> ids, std::uint32_t &looks,
                             bool &at_end) {
    std::uint32_t found = 0;
    while (found < ids.size()) {
        RecordId id = cursor.next;
        if (cursor.index != nullptr) {
            id = cursor.index->advance(cursor, cursors_, records_);
            at_end = id == no_record;
        } else if (records_.find_in_use(id, cursor.last, looks)) {
            cursor.next = id + 1;
        } else {
            cursor.next = id;
            at_end = id == cursor.last;
            break;
        }
        if (at_end)
            break;
        if (ids.size() > 1) // a single record has been prefetched by the call before
            records_.prefetch(id);
        ids[found++] = id;
    }
    if (cursor.index != nullptr)
        return found;
    const auto is_later = [&](RecordId id) {
        return records_.insert_sequence(id) > cursor.last_sequence;
    };
    return static_cast<std::uint32_t>(std::remove_if(ids.begin(), ids.begin() + found, is_later) -
                                      ids.begin());
}

Status Table::release(L2vpnDbIter *handle) {
    const SeqLock::WriteLock lock(lock_);
    Cursor *const cursor = cursors_.find(handle);
    if (cursor == nullptr)
        return {L2VPN_STORE_BAD_ITERATOR, L2VPN_STORE_STAT_BAD_ITERATOR};
    if (cursor->index != nullptr && cursor->next != no_record)
        cursors_.remove_from_group(*cursor);
    cursors_.free(*cursor);
    return ok(L2VPN_STORE_STAT_ITER_RELEASED);
}

} // namespace l2vpn::platform
