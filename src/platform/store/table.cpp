// SPDX-License-Identifier: MIT
#include "platform/store/table.h"

#include <algorithm>
#include <new>

#include "platform/store/record_object.h"
#include "platform/store/reentrancy_guard.h"

namespace l2vpn::platform {

namespace {

void pause() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ volatile("yield");
#endif
}

} // namespace

/// Holds the table for one change.
class Table::WriteLock {
public:
    explicit WriteLock(Table &table) : lock_(table.mutex_) {}

private:
    std::lock_guard<std::mutex> lock_;
    ReentrancyGuard inside_;
};

/// Tells the readers that what they see while it exists may be half done.
class Table::WriteSection {
public:
    explicit WriteSection(Table &table) : version_(table.version_) {
        version_.store(version_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
    }
    ~WriteSection() {
        version_.store(version_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }
    WriteSection(const WriteSection &) = delete;
    WriteSection &operator=(const WriteSection &) = delete;

private:
    std::atomic<Word> &version_;
};

/// Calls `look`, which only reads, once; false if a change came in between.
template <auto Look, class Result, class... Arguments>
bool Table::try_read(Result &result, Arguments... arguments) const {
    const Word before = version_.load(std::memory_order_acquire);
    if (before % 2 != 0) [[unlikely]]
        return false;
    result = (this->*Look)(arguments...);
    std::atomic_thread_fence(std::memory_order_acquire);
    return version_.load(std::memory_order_relaxed) == before;
}

/// Calls `look` until no change came in between; under the mutex if one always does.
template <auto Look, class... Arguments>
auto Table::optimistic_read(Arguments... arguments) {
    decltype((this->*Look)(arguments...)) result{};
    return try_read<Look>(result, arguments...) ? result : read_slow<Look>(arguments...);
}

template <auto Look, class... Arguments>
[[gnu::noinline, gnu::cold]] auto Table::read_slow(Arguments... arguments) {
    decltype((this->*Look)(arguments...)) result{};
    for (int attempt = 1; attempt < 4; ++attempt) {
        pause();
        if (try_read<Look>(result, arguments...))
            return result;
    }
    const WriteLock change(*this);
    return (this->*Look)(arguments...);
}

Table::Table(const TableLayout &layout, const Arena &arena, const Parts &parts,
             std::uint32_t number)
    : layout_(layout), keys_(parts.plans, layout.keys.size()), indexes_(parts.indexes),
      records_(layout.stored_length, layout.keys.size() - 1), stored_length_(layout.stored_length),
      arena_(arena), cursors_(number, parts.newest), pending_(parts.pending),
      record_(parts.record) {}

Table *Table::create(const Allocator &allocator, const TableLayout &layout, std::uint32_t number) {
    const std::size_t keys = layout.keys.size();
    std::size_t pieces = 0;
    for (const KeyLayout &key : layout.keys)
        pieces += max_segments(key);
    const std::size_t rounding = std::size_t{7} * 64;
    Arena arena;
    if (!arena.reserve(allocator, sizeof(Table) + layout.stored_length +
                                      pieces * sizeof(KeySegment) +
                                      keys * (sizeof(KeyDefinition) + sizeof(HashIndex) +
                                              sizeof(PendingKey) + sizeof(Cursor *)) +
                                      rounding))
        return nullptr;
    const auto take = [&](std::size_t size) { return arena.allocate(allocator, size); };
    void *const place = take(sizeof(Table));
    const Parts parts{static_cast<KeyDefinition *>(take(keys * sizeof(KeyDefinition))),
                      static_cast<HashIndex *>(take(keys * sizeof(HashIndex))),
                      static_cast<PendingKey *>(take(keys * sizeof(PendingKey))),
                      static_cast<Cursor **>(take(keys * sizeof(Cursor *))),
                      static_cast<char *>(take(layout.stored_length))};
    auto *next = static_cast<KeySegment *>(take(pieces * sizeof(KeySegment)));
    for (std::size_t k = 0; k < keys; ++k) {
        new (&parts.plans[k]) KeyDefinition(define_key(layout, k, next));
        new (&parts.indexes[k]) HashIndex;
        next += parts.plans[k].rest.size();
    }
    return new (place) Table(layout, arena, parts, number);
}

/// The first record with the key that the source has.
template <class Source>
Table::Found Table::find(const KeyDefinition &plan, const HashIndex &index, Hash hash,
                         Source source) const {
    Found found{no_record, nullptr};
    index.find(hash, [&](RecordId id) {
        const Word *const words = records_.find(id);
        if (words == nullptr) // unreachable: but in the middle of a change
            return false;     // unreachable: as the line above
        if (!plan.matches(source, words))
            return false;
        found = {id, words};
        return true;
    });
    return found;
}

template <class Source>
RecordId Table::find(std::size_t key, Hash hash, Source source) const {
    return find(keys_[key], indexes_[key], hash, source).id;
}

bool Table::copy_found(const KeyDefinition *plan, const HashIndex *index, Hash hash, PackedKey key,
                       void *record) const {
    const Word *const words = find(*plan, *index, hash, key).words;
    if (words != nullptr)
        copy_out(record, words, stored_length_);
    return words != nullptr;
}

[[gnu::flatten]] Status Table::read(const Key &key, void *record) {
    const KeyDefinition *const plan = &keys_[key.index];
    const bool found = optimistic_read<&Table::copy_found>(
        plan, &indexes_[key.index], plan->hash(key.value), key.value, record);
    if (key.index == 0)
        return found ? done(L2VPN_STORE_STAT_READ)
                     : Status{L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_READ_MISSED};
    return found ? done(L2VPN_STORE_STAT_KEY_READ)
                 : Status{L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_KEY_READ_MISSED};
}

Status Table::count(std::uint32_t &count) const {
    count = load(count_);
    return done(L2VPN_STORE_STAT_COUNTED);
}

std::uint32_t Table::count_found(Key key, Hash hash) const {
    const RecordId id = find(key.index, hash, key.value);
    if (id == no_record || key.index == 0)
        return id == no_record ? 0 : 1;
    const ChainLink *const link = records_.try_link(id, key.index);
    if (link == nullptr) // unreachable: but in the middle of a change
        return 0;        // unreachable: as the line above
    return load(link->count);
}

Status Table::count_by(const Key &key, std::uint32_t &count) {
    count = optimistic_read<&Table::count_found>(key, keys_[key.index].hash(key.value));
    return done(L2VPN_STORE_STAT_KEY_COUNTED);
}

Status Table::write(const Allocator &allocator, const char *record) {
    const WriteLock change(*this);
    const Hash hash = keys_[0].hash(record);
    const RecordId id = find(0, hash, record);
    if (id != no_record)
        return replace(allocator, id, record) ? done(L2VPN_STORE_STAT_REPLACED) : out_of_memory;
    return insert(allocator, hash, record) ? done(L2VPN_STORE_STAT_INSERTED) : out_of_memory;
}

/// Finds the group that a record joins under a secondary key, or makes room for a new one.
bool Table::reserve(const Allocator &allocator, std::size_t key, const char *record) {
    PendingKey &wanted = pending_[key];
    wanted.hash = keys_[key].hash(record);
    wanted.group = find(key, wanted.hash, record);
    return wanted.group != no_record || indexes_[key].reserve(allocator, arena_, wanted.hash);
}

bool Table::insert(const Allocator &allocator, Hash primary, const char *record) {
    const WriteSection window(*this);
    if (!records_.reserve(allocator, arena_) || !indexes_[0].reserve(allocator, arena_, primary))
        return false;
    for (std::size_t k = 1; k < keys_.size(); ++k)
        if (!reserve(allocator, k, record))
            return false;
    const RecordId id = records_.allocate();
    copy_in(records_.words(id), record, stored_length_);
    indexes_[0].insert(primary, id);
    for (std::size_t k = 1; k < keys_.size(); ++k)
        link(id, k);
    store(count_, count_ + 1);
    return true;
}

/// Gives a record new contents under the same primary key.
bool Table::replace(const Allocator &allocator, RecordId id, const char *record) {
    Word *const words = records_.words(id);
    bool moves = false;
    for (std::size_t k = 1; k < keys_.size(); ++k) {
        pending_[k].changes = !keys_[k].matches(record, words);
        moves = moves || pending_[k].changes;
    }
    const WriteSection window(*this);
    if (moves) {
        for (std::size_t k = 1; k < keys_.size(); ++k)
            if (pending_[k].changes && !reserve(allocator, k, record))
                return false;
        for (std::size_t k = 1; k < keys_.size(); ++k)
            if (pending_[k].changes)
                unlink(id, k);
    }
    copy_in(words, record, stored_length_);
    if (moves)
        for (std::size_t k = 1; k < keys_.size(); ++k)
            if (pending_[k].changes)
                link(id, k);
    return true;
}

/// Appends a record to the group that reserve() has found, or starts one.
void Table::link(RecordId id, std::size_t key) {
    const PendingKey &wanted = pending_[key];
    ChainLink &link = records_.link(id, key);
    if (wanted.group == no_record) {
        indexes_[key].insert(wanted.hash, id);
        store(link.next, id);
        store(link.previous, id);
        store(link.count, 1U);
        return;
    }
    ChainLink &first = records_.link(wanted.group, key);
    store(link.next, wanted.group);
    store(link.previous, first.previous);
    store(link.count, 0U);
    store(records_.link(first.previous, key).next, id);
    store(first.previous, id);
    store(first.count, first.count + 1);
}

/// Takes a record, whose contents are still the old ones, out of its group.
void Table::unlink(RecordId id, std::size_t key) {
    advance_cursors(id, key);
    const Word *const record = records_.words(id);
    const Hash hash = keys_[key].hash(record);
    const ChainLink &link = records_.link(id, key);
    if (link.count == 1) {
        indexes_[key].erase(hash, id);
        return;
    }
    if (link.count != 0) {
        store(records_.link(link.next, key).count, link.count - 1);
        indexes_[key].replace(hash, id, link.next);
    } else {
        ChainLink &first = records_.link(find(key, hash, record), key);
        store(first.count, first.count - 1);
    }
    store(records_.link(link.previous, key).next, link.next);
    store(records_.link(link.next, key).previous, link.previous);
}

/// Makes the iterators over a key ready for a record's leaving its group.
void Table::advance_cursors(RecordId id, std::size_t key) {
    for (Cursor *cursor = cursors_.over(key); cursor != nullptr; cursor = cursor->older) {
        if (cursor->next == id)
            cursor->next = cursor->last == id ? no_record : records_.link(id, key).next;
        else if (cursor->next != no_record && cursor->last == id)
            cursor->last = records_.link(id, key).previous;
    }
}

Status Table::remove(const Key &key) {
    const WriteLock change(*this);
    const Hash hash = keys_[0].hash(key.value);
    const RecordId id = find(0, hash, key.value);
    if (id == no_record)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_DELETE_MISSED};
    const WriteSection window(*this);
    advance_cursors(id, 0);
    for (std::size_t k = 1; k < keys_.size(); ++k)
        unlink(id, k);
    indexes_[0].erase(hash, id);
    records_.free(id);
    store(count_, count_ - 1);
    return done(L2VPN_STORE_STAT_DELETED);
}

Status Table::update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor, const Key &key,
                     const L2vpnDbRecData &record, const L2vpnDbUpdData &update) {
    const WriteLock change(*this);
    const RecordId id = find(0, keys_[0].hash(key.value), key.value);
    if (id == no_record)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_UPDATE_MISSED};
    L2vpnDbRecObj *const object = descriptor.createObject(module);
    if (object == nullptr)
        return out_of_memory;
    copy_out(record_, records_.words(id), stored_length_);
    const L2vpnDbRecData stored{record_, stored_length_, 0};
    Status status{descriptor.setAllFields(object, &stored), L2VPN_STORE_STAT_BAD_REQUEST};
    if (status.code == L2VPN_DB_OK) {
        status = {update.setFields(&record, object, update.fieldIds, update.fieldCount),
                  L2VPN_STORE_STAT_UPDATE_REFUSED};
        if (status.code == L2VPN_DB_OK) {
            if (!keys_[0].matches(static_cast<const char *>(object->bytes()), records_.words(id)))
                status = {L2VPN_STORE_KEY_CHANGED, L2VPN_STORE_STAT_UPDATE_REFUSED};
            else if (replace(Allocator(module), id, object->bytes()))
                status = done(L2VPN_STORE_STAT_UPDATED);
            else
                status = out_of_memory;
        }
    }
    descriptor.releaseObject(module, object);
    return status;
}

Status Table::open(const Allocator &allocator, const Key *key, L2vpnDbIter *&handle) {
    const WriteLock change(*this);
    Cursor *const cursor =
        cursors_.open(allocator, arena_, key == nullptr ? Cursor::whole_table : key->index);
    if (cursor == nullptr)
        return out_of_memory;
    handle = cursors_.handle(*cursor);
    if (key == nullptr) {
        cursor->next = 0;
        cursor->last = records_.end();
        cursor->last_sequence = records_.last_sequence();
        return done(L2VPN_STORE_STAT_ITER_OPENED);
    }
    const RecordId first = find(key->index, keys_[key->index].hash(key->value), key->value);
    cursor->next = first;
    cursor->last =
        first == no_record || key->index == 0 ? first : records_.link(first, key->index).previous;
    return done(L2VPN_STORE_STAT_KEY_ITER_OPENED);
}

Status Table::next(L2vpnDbIter *handle, void *record) {
    const WriteLock change(*this);
    Cursor *const cursor = cursors_.find(handle);
    if (cursor == nullptr)
        return {L2VPN_STORE_BAD_ITERATOR, L2VPN_STORE_STAT_BAD_ITERATOR};
    RecordId id = cursor->next;
    if (cursor->key == Cursor::whole_table) {
        const auto delivered = [&] {
            const Word insert_sequence = records_.insert_sequence(id);
            return insert_sequence != 0 && insert_sequence <= cursor->last_sequence;
        };
        while (id != cursor->last && !delivered())
            ++id;
        cursor->next = id == cursor->last ? id : id + 1;
        if (id == cursor->last)
            id = no_record;
    } else if (id != no_record) {
        cursor->next = id == cursor->last ? no_record : records_.link(id, cursor->key).next;
    }
    if (id == no_record)
        return {L2VPN_STORE_END, L2VPN_STORE_STAT_ITER_ENDED};
    copy_out(record, records_.words(id), stored_length_);
    return done(L2VPN_STORE_STAT_DELIVERED);
}

Status Table::release(L2vpnDbIter *handle) {
    const WriteLock change(*this);
    Cursor *const cursor = cursors_.find(handle);
    if (cursor == nullptr)
        return {L2VPN_STORE_BAD_ITERATOR, L2VPN_STORE_STAT_BAD_ITERATOR};
    cursors_.release(*cursor);
    return done(L2VPN_STORE_STAT_ITER_RELEASED);
}

} // namespace l2vpn::platform
