// SPDX-License-Identifier: MIT
#include "platform/store/table.h"

#include <algorithm>
#include <new>

#include "platform/store/record_bytes.h"
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
class Table::Change {
public:
    explicit Change(Table &table) : lock_(table.mutex_) {}

private:
    std::lock_guard<std::mutex> lock_;
    InsideStore inside_;
};

/// Tells the readers that what they see while it exists may be half done.
class Table::Window {
public:
    explicit Window(Table &table) : version_(table.version_) {
        version_.store(version_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
    }
    ~Window() {
        version_.store(version_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }
    Window(const Window &) = delete;
    Window &operator=(const Window &) = delete;

private:
    std::atomic<Word> &version_;
};

/// Calls `look`, which only reads, once; false if a change came in between.
template <auto Look, class Result, class... Arguments>
bool Table::looked(Result &result, Arguments... arguments) const {
    const Word before = version_.load(std::memory_order_acquire);
    if (before % 2 != 0) [[unlikely]]
        return false;
    result = (this->*Look)(arguments...);
    std::atomic_thread_fence(std::memory_order_acquire);
    return version_.load(std::memory_order_relaxed) == before;
}

/// Calls `look` until no change came in between; under the mutex if one always does.
template <auto Look, class... Arguments>
auto Table::look(Arguments... arguments) {
    decltype((this->*Look)(arguments...)) result{};
    return looked<Look>(result, arguments...) ? result : look_again<Look>(arguments...);
}

template <auto Look, class... Arguments>
[[gnu::noinline, gnu::cold]] auto Table::look_again(Arguments... arguments) {
    decltype((this->*Look)(arguments...)) result{};
    for (int attempt = 1; attempt < 4; ++attempt) {
        pause();
        if (looked<Look>(result, arguments...))
            return result;
    }
    const Change change(*this);
    return (this->*Look)(arguments...);
}

Table::Table(const TableLayout &layout, const Arena &arena, const Parts &parts,
             std::uint32_t number)
    : layout_(layout), keys_(parts.plans, layout.keys.size()), indexes_(parts.indexes),
      records_(layout.stored_length, layout.keys.size() - 1), stored_length_(layout.stored_length),
      arena_(arena), cursors_(number, parts.newest), new_keys_(parts.new_keys),
      record_(parts.record) {}

Table *Table::create(const Memory &memory, const TableLayout &layout, std::uint32_t number) {
    const std::size_t keys = layout.keys.size();
    std::size_t pieces = 0;
    for (const KeyLayout &key : layout.keys)
        pieces += max_pieces(key);
    const std::size_t rounding = std::size_t{7} * 64;
    Arena arena;
    if (!arena.reserve(memory, sizeof(Table) + layout.stored_length + pieces * sizeof(KeyPiece) +
                                   keys * (sizeof(KeyPlan) + sizeof(KeyIndex) + sizeof(NewKey) +
                                           sizeof(Cursor *)) +
                                   rounding))
        return nullptr;
    const auto take = [&](std::size_t size) { return arena.take(memory, size); };
    void *const place = take(sizeof(Table));
    const Parts parts{static_cast<KeyPlan *>(take(keys * sizeof(KeyPlan))),
                      static_cast<KeyIndex *>(take(keys * sizeof(KeyIndex))),
                      static_cast<NewKey *>(take(keys * sizeof(NewKey))),
                      static_cast<Cursor **>(take(keys * sizeof(Cursor *))),
                      static_cast<char *>(take(layout.stored_length))};
    auto *next = static_cast<KeyPiece *>(take(pieces * sizeof(KeyPiece)));
    for (std::size_t k = 0; k < keys; ++k) {
        new (&parts.plans[k]) KeyPlan(make_plan(layout, k, next));
        new (&parts.indexes[k]) KeyIndex;
        next += parts.plans[k].rest.size();
    }
    return new (place) Table(layout, arena, parts, number);
}

/// The first record with the key that the source has.
template <class Source>
Table::Found Table::find(const KeyPlan &plan, const KeyIndex &index, Hash hash,
                         Source source) const {
    Found found{no_record, nullptr};
    index.find(hash, [&](RecordId id) {
        const Word *const words = records_.find(id);
        if (words == nullptr) // unreachable: but in the middle of a change
            return false;     // unreachable: as the line above
        if (!plan.same(source, words))
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

bool Table::copy_found(const KeyPlan *plan, const KeyIndex *index, Hash hash, PackedKey key,
                       void *record) const {
    const Word *const words = find(*plan, *index, hash, key).words;
    if (words != nullptr)
        copy_out(record, words, stored_length_);
    return words != nullptr;
}

[[gnu::flatten]] Outcome Table::read(const Key &key, void *record) {
    const KeyPlan *const plan = &keys_[key.index];
    const bool found = look<&Table::copy_found>(plan, &indexes_[key.index], plan->hash(key.value),
                                                key.value, record);
    if (key.index == 0)
        return found ? done(L2VPN_STORE_STAT_READ)
                     : Outcome{L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_READ_MISSED};
    return found ? done(L2VPN_STORE_STAT_KEY_READ)
                 : Outcome{L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_KEY_READ_MISSED};
}

Outcome Table::count(std::uint32_t &count) const {
    count = load(count_);
    return done(L2VPN_STORE_STAT_COUNTED);
}

std::uint32_t Table::count_found(Key key, Hash hash) const {
    const RecordId id = find(key.index, hash, key.value);
    if (id == no_record || key.index == 0)
        return id == no_record ? 0 : 1;
    const Link *const link = records_.find_link(id, key.index);
    if (link == nullptr) // unreachable: but in the middle of a change
        return 0;        // unreachable: as the line above
    return load(link->count);
}

Outcome Table::count_by(const Key &key, std::uint32_t &count) {
    count = look<&Table::count_found>(key, keys_[key.index].hash(key.value));
    return done(L2VPN_STORE_STAT_KEY_COUNTED);
}

Outcome Table::write(const Memory &memory, const char *record) {
    const Change change(*this);
    const Hash hash = keys_[0].hash(record);
    const RecordId id = find(0, hash, record);
    if (id != no_record)
        return replace(memory, id, record) ? done(L2VPN_STORE_STAT_REPLACED) : out_of_memory;
    return insert(memory, hash, record) ? done(L2VPN_STORE_STAT_INSERTED) : out_of_memory;
}

/// Finds the group that a record joins under a secondary key, or makes room for a new one.
bool Table::prepare(const Memory &memory, std::size_t key, const char *record) {
    NewKey &wanted = new_keys_[key];
    wanted.hash = keys_[key].hash(record);
    wanted.group = find(key, wanted.hash, record);
    return wanted.group != no_record || indexes_[key].prepare(memory, arena_, wanted.hash);
}

bool Table::insert(const Memory &memory, Hash primary, const char *record) {
    const Window window(*this);
    if (!records_.prepare(memory, arena_) || !indexes_[0].prepare(memory, arena_, primary))
        return false;
    for (std::size_t k = 1; k < keys_.size(); ++k)
        if (!prepare(memory, k, record))
            return false;
    const RecordId id = records_.take();
    copy_in(records_.words(id), record, stored_length_);
    indexes_[0].insert(primary, id);
    for (std::size_t k = 1; k < keys_.size(); ++k)
        join(id, k);
    store(count_, count_ + 1);
    return true;
}

/// Gives a record new contents under the same primary key.
bool Table::replace(const Memory &memory, RecordId id, const char *record) {
    Word *const words = records_.words(id);
    bool moves = false;
    for (std::size_t k = 1; k < keys_.size(); ++k) {
        new_keys_[k].changes = !keys_[k].same(record, words);
        moves = moves || new_keys_[k].changes;
    }
    const Window window(*this);
    if (moves) {
        for (std::size_t k = 1; k < keys_.size(); ++k)
            if (new_keys_[k].changes && !prepare(memory, k, record))
                return false;
        for (std::size_t k = 1; k < keys_.size(); ++k)
            if (new_keys_[k].changes)
                leave(id, k);
    }
    copy_in(words, record, stored_length_);
    if (moves)
        for (std::size_t k = 1; k < keys_.size(); ++k)
            if (new_keys_[k].changes)
                join(id, k);
    return true;
}

/// Appends a record to the group that prepare() has found, or starts one.
void Table::join(RecordId id, std::size_t key) {
    const NewKey &wanted = new_keys_[key];
    Link &link = records_.link(id, key);
    if (wanted.group == no_record) {
        indexes_[key].insert(wanted.hash, id);
        store(link.next, id);
        store(link.previous, id);
        store(link.count, 1U);
        return;
    }
    Link &first = records_.link(wanted.group, key);
    store(link.next, wanted.group);
    store(link.previous, first.previous);
    store(link.count, 0U);
    store(records_.link(first.previous, key).next, id);
    store(first.previous, id);
    store(first.count, first.count + 1);
}

/// Takes a record, whose contents are still the old ones, out of its group.
void Table::leave(RecordId id, std::size_t key) {
    move_cursors(id, key);
    const Word *const record = records_.words(id);
    const Hash hash = keys_[key].hash(record);
    const Link &link = records_.link(id, key);
    if (link.count == 1) {
        indexes_[key].erase(hash, id);
        return;
    }
    if (link.count != 0) {
        store(records_.link(link.next, key).count, link.count - 1);
        indexes_[key].replace(hash, id, link.next);
    } else {
        Link &first = records_.link(find(key, hash, record), key);
        store(first.count, first.count - 1);
    }
    store(records_.link(link.previous, key).next, link.next);
    store(records_.link(link.next, key).previous, link.previous);
}

/// Makes the iterators over a key ready for a record's leaving its group.
void Table::move_cursors(RecordId id, std::size_t key) {
    for (Cursor *cursor = cursors_.over(key); cursor != nullptr; cursor = cursor->older) {
        if (cursor->next == id)
            cursor->next = cursor->last == id ? no_record : records_.link(id, key).next;
        else if (cursor->next != no_record && cursor->last == id)
            cursor->last = records_.link(id, key).previous;
    }
}

Outcome Table::remove(const Key &key) {
    const Change change(*this);
    const Hash hash = keys_[0].hash(key.value);
    const RecordId id = find(0, hash, key.value);
    if (id == no_record)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_DELETE_MISSED};
    const Window window(*this);
    move_cursors(id, 0);
    for (std::size_t k = 1; k < keys_.size(); ++k)
        leave(id, k);
    indexes_[0].erase(hash, id);
    records_.give_back(id);
    store(count_, count_ - 1);
    return done(L2VPN_STORE_STAT_DELETED);
}

Outcome Table::update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor, const Key &key,
                      const L2vpnDbRecData &record, const L2vpnDbUpdData &update) {
    const Change change(*this);
    const RecordId id = find(0, keys_[0].hash(key.value), key.value);
    if (id == no_record)
        return {L2VPN_STORE_NOT_FOUND, L2VPN_STORE_STAT_UPDATE_MISSED};
    L2vpnDbRecObj *const object = descriptor.createObject(module);
    if (object == nullptr)
        return out_of_memory;
    copy_out(record_, records_.words(id), stored_length_);
    const L2vpnDbRecData stored{record_, stored_length_, 0};
    Outcome outcome{descriptor.setAllFields(object, &stored), L2VPN_STORE_STAT_BAD_REQUEST};
    if (outcome.code == L2VPN_DB_OK) {
        outcome = {update.setFields(&record, object, update.fieldIds, update.fieldCount),
                   L2VPN_STORE_STAT_UPDATE_REFUSED};
        if (outcome.code == L2VPN_DB_OK) {
            if (!keys_[0].same(static_cast<const char *>(object->bytes()), records_.words(id)))
                outcome = {L2VPN_STORE_KEY_CHANGED, L2VPN_STORE_STAT_UPDATE_REFUSED};
            else if (replace(Memory(module), id, object->bytes()))
                outcome = done(L2VPN_STORE_STAT_UPDATED);
            else
                outcome = out_of_memory;
        }
    }
    descriptor.releaseObject(module, object);
    return outcome;
}

Outcome Table::open(const Memory &memory, const Key *key, L2vpnDbIter *&handle) {
    const Change change(*this);
    Cursor *const cursor =
        cursors_.open(memory, arena_, key == nullptr ? Cursor::whole_table : key->index);
    if (cursor == nullptr)
        return out_of_memory;
    handle = cursors_.handle(*cursor);
    if (key == nullptr) {
        cursor->next = 0;
        cursor->last = records_.end();
        cursor->births = records_.births();
        return done(L2VPN_STORE_STAT_ITER_OPENED);
    }
    const RecordId first = find(key->index, keys_[key->index].hash(key->value), key->value);
    cursor->next = first;
    cursor->last =
        first == no_record || key->index == 0 ? first : records_.link(first, key->index).previous;
    return done(L2VPN_STORE_STAT_KEY_ITER_OPENED);
}

Outcome Table::next(L2vpnDbIter *handle, void *record) {
    const Change change(*this);
    Cursor *const cursor = cursors_.find(handle);
    if (cursor == nullptr)
        return {L2VPN_STORE_BAD_ITERATOR, L2VPN_STORE_STAT_BAD_ITERATOR};
    RecordId id = cursor->next;
    if (cursor->key == Cursor::whole_table) {
        const auto delivered = [&] {
            const Word birth = records_.birth(id);
            return birth != 0 && birth <= cursor->births;
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

Outcome Table::release(L2vpnDbIter *handle) {
    const Change change(*this);
    Cursor *const cursor = cursors_.find(handle);
    if (cursor == nullptr)
        return {L2VPN_STORE_BAD_ITERATOR, L2VPN_STORE_STAT_BAD_ITERATOR};
    cursors_.release(*cursor);
    return done(L2VPN_STORE_STAT_ITER_RELEASED);
}

} // namespace l2vpn::platform
