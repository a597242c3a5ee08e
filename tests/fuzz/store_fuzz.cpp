// SPDX-License-Identifier: MIT
// Plays an input as valid and invalid calls of the store and compares every result, event and log
// line with a plain model. Invalid calls stay within the contract: pointers are null or valid, and
// a buffer is as long as its request says unless the store must reject the length.
#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <set>

#include "l2vpn_db/memory_store.h"
#include "l2vpn_db/platform.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/facts.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {
namespace {

using Counters = std::array<std::uint32_t, L2VPN_DB_STAT_COUNT>;
/// The codes that a call may be rejected with: one per error in the request.
using Codes = std::set<std::uint32_t>;

constexpr std::size_t whole_table = SIZE_MAX;

struct Table {
    const TypedTable *functions;
    const Facts *facts;
    std::map<Bytes, Bytes> records; ///< by primary key
    Counters events{};
};

struct Open {
    L2vpnDbIter *handle;
    Table *table;
    std::size_t key; ///< or whole_table
    Bytes value;
    std::set<Bytes> due; ///< primary keys
};

Bytes key_value(const Key &key, const Bytes &stored) {
    Bytes value;
    for (const Field &member : key.members)
        value.insert(value.end(), stored.begin() + member.stored_offset,
                     stored.begin() + member.stored_offset + member.width);
    return value;
}

bool has_key(const Key &key, const Bytes &stored, const Bytes &value) {
    auto wanted = value.begin();
    return std::ranges::all_of(key.members, [&](const Field &member) {
        const auto at = stored.begin() + member.stored_offset;
        wanted += member.width;
        return std::equal(at, at + member.width, wanted - member.width);
    });
}

const std::uint32_t *words(const Exact &bytes) {
    return reinterpret_cast<const std::uint32_t *>(bytes.data());
}

// ---- The services -----------------------------------------------------------------------------

/// The table that is called; calls made by the services count there.
Table *current = nullptr;
bool in_store = false;
bool services_call_back = false;
std::optional<std::uint32_t> allocations_left;
std::uint32_t failed_allocations = 0;
std::set<const void *> allocated;
std::uint32_t log_lines = 0;

void expect_reentered() {
    std::uint32_t count = 77;
    L2vpnDbTblIntf *const intf = current->functions->descriptor;
    L2vpnDbModuleIntf *const module = L2VPN_DB_ModuleIntf();
    require(DAL_VELD_Count(module, intf, &count) == L2VPN_STORE_REENTERED, "reentered");
    require(DAL_VELD_CreateIterator(module, intf) == nullptr, "reentered");
    require(DAL_VELD_Write(module, nullptr, nullptr) == L2VPN_STORE_REENTERED, "reentered");
    require(count == 77, "count unchanged by a rejected call");
}

void *allocate(std::size_t size) {
    if (in_store && services_call_back)
        expect_reentered();
    if (allocations_left && *allocations_left == 0) {
        ++failed_allocations;
        return nullptr;
    }
    if (allocations_left)
        --*allocations_left;
    void *const block = std::malloc(size);
    std::memset(block, 0xA5, size);
    allocated.insert(block);
    return block;
}

void release(void *memory) {
    require(allocated.erase(memory) == 1, "memory that is not allocated");
    std::free(memory);
}

void write_log(const char *text) {
    ++log_lines;
    require(std::strlen(text) <= 200, "length of a log line");
    if (!services_call_back)
        return;
    allocations_left.reset();
    std::uint32_t count = 0;
    require(DAL_VELD_Count(nullptr, current->functions->descriptor, &count) == L2VPN_DB_OK,
            "call from the log service");
    require(count == current->records.size(), "count from the log service");
    ++current->events[L2VPN_STORE_STAT_COUNTED];
}

Counters alias_events{};
void count_for_alias(std::uint32_t event, std::uint32_t amount) {
    alias_events.at(event) += amount;
}

// ---- The setter -------------------------------------------------------------------------------

enum class Setting : std::uint8_t { library, contents, reset, nothing };

struct {
    Setting kind = Setting::nothing;
    const L2vpnDbRecData *record = nullptr;
    const std::uint32_t *ids = nullptr;
    std::uint32_t id_count = 0;
    Bytes contents;
    std::uint32_t result = 0;
    std::uint32_t calls = 0;
    const L2vpnDbRecObj *object = nullptr;
} setting;

std::uint32_t setter(const L2vpnDbRecData *record, L2vpnDbRecObj *object, const std::uint32_t *ids,
                     std::uint32_t id_count) {
    ++setting.calls;
    setting.object = object;
    require(record == setting.record && ids == setting.ids && id_count == setting.id_count &&
                object != nullptr,
            "arguments of the setter");
    const L2vpnDbTblIntf &intf = *current->functions->descriptor;
    std::uint32_t count = 0;
    require(DAL_VELD_Count(nullptr, current->functions->descriptor, &count) == L2VPN_DB_OK &&
                count == current->records.size(),
            "call from a setter");
    ++current->events[L2VPN_STORE_STAT_COUNTED];
    // A rejected call changes nothing.
    const L2vpnDbRecData longer{setting.contents.data(),
                                static_cast<std::uint32_t>(setting.contents.size() + 1), 0};
    require(intf.setAllFields(object, &longer) == L2VPN_STORE_BAD_LENGTH, "wrong record length");
    require(intf.setAllFields(object, nullptr) == L2VPN_STORE_NULL_POINTER, "null record");
    const TypedTable &other = typed_tables[current->functions == &typed_tables[0] ? 1 : 0];
    require(other.descriptor->setAllFields(object, &longer) != L2VPN_DB_OK,
            "object of another table");
    switch (setting.kind) {
    case Setting::library:
        return current->functions->set_fields(record, object, ids, id_count);
    case Setting::contents: {
        const L2vpnDbRecData request{setting.contents.data(),
                                     static_cast<std::uint32_t>(setting.contents.size()), 0};
        require(intf.setAllFields(object, &request) == L2VPN_DB_OK, "setting an object's contents");
        break;
    }
    case Setting::reset:
        intf.resetObject(L2VPN_DB_ModuleIntf(), object);
        break;
    case Setting::nothing:
        break;
    }
    return setting.result;
}

// ---- The player -------------------------------------------------------------------------------

/// A key request, its buffers and its errors.
struct KeyCall {
    std::optional<Exact> id;
    std::optional<Exact> value;
    L2vpnDbKeyData request{};
    bool null = false;     ///< a null pointer instead of the request
    Codes rejected;        ///< the acceptable error codes; empty if valid
    std::size_t index = 0; ///< of a valid request
    Bytes wanted;          ///< the key value of a valid request

    [[nodiscard]] const L2vpnDbKeyData *pointer() const { return null ? nullptr : &request; }
};

struct RecordCall {
    std::optional<Exact> buffer;
    L2vpnDbRecData request{};
    bool null = false; ///< a null pointer instead of the request
    Codes rejected;    ///< the acceptable error codes; empty if valid

    L2vpnDbRecData *pointer() { return null ? nullptr : &request; }
};

class Player {
public:
    explicit Player(Input input) : input_(input) {}

    void play() {
        choose_table();
        while (!input_.empty())
            call();
    }

    /// Compares the contents of the store with the model, and empties the store.
    void finish() {
        module_ = L2VPN_DB_ModuleIntf();
        services_call_back = false;
        while (!open_.empty()) {
            use(*open_.back().table);
            while (advance(open_.back())) {
            }
            release(open_.back().handle);
        }
        for (Table *const table : std::set(used_)) {
            use(*table);
            walk(whole_table, {});
            for (std::size_t k = 0; k < facts().keys.size(); ++k) {
                // A few key values are enough.
                std::set<Bytes> values;
                for (const auto &[primary, stored] : table->records)
                    if (values.size() < 4)
                        values.insert(key_value(facts().keys[k], stored));
                for (const Bytes &value : values) {
                    KeyCall key = valid_key(k, value);
                    count_by(key);
                    walk(k, value);
                }
            }
            while (!table->records.empty()) {
                KeyCall key = valid_key(0, table->records.begin()->first);
                remove(key);
            }
            count(false);
        }
    }

private:
    static std::vector<Table> &tables() {
        static std::vector<Table> all = [] {
            std::vector<Table> result;
            for (const TypedTable &table : typed_tables)
                result.push_back({&table, &l2vpn::test::facts(table.name), {}, {}});
            return result;
        }();
        return all;
    }

    [[nodiscard]] const Facts &facts() const { return *current->facts; }

    // ---- Descriptors and modules

    void use(Table &table) {
        current = &table;
        used_.insert(&table);
        intf_ = table.functions->descriptor;
        counted_ = &table.events;
        table_rejected_.clear();
        expect_events();
    }

    void choose_table() { use(tables()[input_.below(tables().size())]); }

    /// Another descriptor for the current table, or an unknown one.
    void choose_descriptor() {
        use(*current);
        static L2vpnDbTblIntf alias;
        static Counters uncounted;
        static std::string unknown;
        const std::size_t kind = input_.below(8);
        if (kind < 2)
            return;
        unknown = current->functions->name;
        alias = *intf_;
        alias.name = current->functions->name.c_str(); // never overwritten
        alias.stat = count_for_alias;
        counted_ = &(alias_counted_ = alias_events);
        intf_ = &alias;
        switch (kind) {
        case 2: // without the functions of an update
            if (input_.one_in(2))
                alias.createObject = nullptr;
            if (input_.one_in(2))
                alias.releaseObject = nullptr;
            if (input_.one_in(2))
                alias.setAllFields = nullptr;
            break;
        case 3:
            alias.stat = nullptr;
            counted_ = &(uncounted = {});
            break;
        case 4:
            intf_ = nullptr;
            break;
        case 5:
            alias.name = nullptr;
            break;
        case 6: {
            const Bytes text = input_.bytes(input_.below(24));
            unknown.assign(text.begin(), text.end());
            alias.name = unknown.c_str();
            break;
        }
        case 7:
            unknown.resize(input_.below(unknown.size()));
            alias.name = unknown.c_str();
            break;
        default:
            break;
        }
        if (intf_ != nullptr && alias.name == current->functions->name.c_str())
            return;
        if (alias.name != nullptr && intf_ != nullptr &&
            std::ranges::find(typed_tables, alias.name, &TypedTable::name) != typed_tables.end())
            return use(*current); // the input names a table, but the string is overwritten later
        table_rejected_ = {L2VPN_STORE_UNKNOWN_TABLE};
    }

    void choose_module() {
        static L2vpnDbModuleIntf bare{};
        static L2vpnDbModuleIntf half{};
        half = *L2VPN_DB_ModuleIntf();
        half.memory[1] = 0;
        L2vpnDbModuleIntf *const modules[] = {L2VPN_DB_ModuleIntf(), nullptr, &bare, &half};
        module_ = modules[input_.below(std::size(modules))];
        services_call_back = input_.one_in(2);
    }

    // ---- Records and keys

    /// A stored record. Key members have few values, so that records share keys.
    Bytes some_record() {
        Bytes stored(facts().stored_size, 0);
        const std::uint8_t rest = input_.byte();
        if (rest % 4 == 3)
            for (std::size_t i = 0; i < stored.size(); ++i)
                stored[i] = static_cast<std::uint8_t>(rest * (i + 1));
        std::uint8_t values = 0;
        for (std::size_t k = facts().keys.size(); k-- > 0;) {
            // The primary key comes last, with a byte for itself.
            if (k == 0 || k + 1 == facts().keys.size())
                values = input_.byte();
            for (const Field &member : facts().keys[k].members) {
                const std::uint8_t value = values & 3U;
                values = static_cast<std::uint8_t>(values >> 2 | values << 6);
                std::fill_n(stored.begin() + member.stored_offset, member.width, std::uint8_t{0});
                stored[member.stored_offset + value % member.width] = value;
            }
        }
        if (input_.one_in(16)) {
            const std::size_t at = input_.number<std::uint16_t>() % stored.size();
            const Bytes patch = input_.bytes(std::min(input_.below(17), stored.size() - at));
            std::copy(patch.begin(), patch.end(), stored.begin() + static_cast<std::ptrdiff_t>(at));
        }
        return stored;
    }

    /// A record whose primary key is its number, and which shares the other keys' values.
    Bytes numbered_record(std::uint32_t number, std::uint8_t spread) const {
        Bytes stored(facts().stored_size, static_cast<std::uint8_t>(number));
        for (const Key &key : facts().keys)
            for (const Field &member : key.members)
                put(stored, member, number % (1U + spread));
        for (const Field &member : facts().keys[0].members)
            put(stored, member, number);
        return stored;
    }
    static void put(Bytes &stored, const Field &member, std::uint32_t number) {
        number *= 0x9E3779B1;
        for (std::uint32_t i = 0; i < member.width; ++i)
            stored[member.stored_offset + i] =
                i < 4 ? static_cast<std::uint8_t>(number >> 8 * i) : std::uint8_t{0};
    }

    [[nodiscard]] KeyCall valid_key(std::size_t index, Bytes value) const {
        const Key &key = facts().keys[index];
        const std::array<std::uint32_t, 4> id{key.word};
        KeyCall call;
        call.id.emplace(std::span(reinterpret_cast<const std::uint8_t *>(id.data()), sizeof id));
        call.value.emplace(value);
        call.request = {words(*call.id), 16, 0, call.value->data(), key.length, 0};
        call.index = index;
        call.wanted = std::move(value);
        call.rejected = table_rejected_;
        return call;
    }

    /// A key request with any errors.
    KeyCall some_key(bool primary) {
        const std::uint8_t way = input_.byte();
        const auto index =
            primary && way % 8 != 7 ? std::size_t{0} : input_.below(facts().keys.size());
        KeyCall call = valid_key(index, key_value(facts().keys[index], some_record()));
        const Key *key = &facts().keys[index];
        std::uint32_t word = key->word;
        if (way >= 160) {
            const std::uint8_t what = input_.byte();
            if (what & 1U)
                word = input_.number<std::uint32_t>();
            if (what & 2U)
                word ^= 1U << input_.below(32);
            if (what & 4U)
                call.request.keyLength = input_.number<std::uint32_t>();
            if (what & 8U)
                call.request.keyLength = input_.byte();
            if (what & 16U)
                call.request.keyIdLength = input_.number<std::uint32_t>();
            if (what & 32U)
                call.request.keyIdLength = input_.byte();
            // As long as it says, up to 64 KiB.
            const auto length = [](std::uint32_t said) { return said <= 0x10000 ? said : 1; };
            call.id.emplace(std::max<std::size_t>(length(call.request.keyIdLength), 4), 0);
            std::memcpy(call.id->data(), &word, sizeof word);
            call.value.emplace(length(call.request.keyLength), 0);
            std::copy_n(call.wanted.begin(),
                        std::min<std::size_t>(call.wanted.size(), length(call.request.keyLength)),
                        call.value->data());
            call.request.keyId = what & 64U && input_.one_in(2) ? nullptr : words(*call.id);
            call.request.key = what & 64U && input_.one_in(2) ? nullptr : call.value->data();
            if (what & 128U && input_.one_in(4))
                call.null = true;
        }
        if (call.null || call.request.keyId == nullptr || call.request.key == nullptr)
            call.rejected.insert(L2VPN_STORE_NULL_POINTER);
        if (call.request.keyIdLength != 16)
            call.rejected.insert(L2VPN_STORE_BAD_KEY_AREA);
        if (word >> 24 >= facts().keys.size()) {
            call.rejected.insert(L2VPN_STORE_UNKNOWN_KEY);
            return call;
        }
        call.index = word >> 24;
        key = &facts().keys[call.index];
        if ((word >> 16 & 0xFFU) != (key->word >> 16 & 0xFFU))
            call.rejected.insert(L2VPN_STORE_BAD_KEY_FLAGS);
        if ((word & 0xFFFFU) != key->length || call.request.keyLength != key->length)
            call.rejected.insert(L2VPN_STORE_BAD_KEY_LENGTH);
        if (primary && call.index != 0)
            call.rejected.insert(L2VPN_STORE_NOT_PRIMARY);
        if (call.rejected.empty()) {
            const auto value = call.value->contents();
            call.wanted.assign(value.begin(), value.end());
        }
        return call;
    }

    RecordCall some_record_request(std::span<const std::uint8_t> contents) {
        RecordCall call;
        call.rejected = table_rejected_;
        call.request.length = facts().stored_size;
        const std::uint8_t way = input_.byte();
        if (way >= 208)
            call.request.length = input_.number<std::uint32_t>() >> input_.below(32);
        const std::uint32_t length = call.request.length <= 0x10000 ? call.request.length : 1;
        call.buffer.emplace(length, 0xA5);
        std::copy_n(contents.begin(), std::min<std::size_t>(contents.size(), length),
                    call.buffer->data());
        call.request.data = way % 32 == 31 ? nullptr : call.buffer->data();
        if (way % 64 == 62)
            call.null = true;
        if (call.request.length != facts().stored_size)
            call.rejected.insert(L2VPN_STORE_BAD_LENGTH);
        if (call.null || call.request.data == nullptr)
            call.rejected.insert(L2VPN_STORE_NULL_POINTER);
        return call;
    }

    // ---- The model

    void store_in_model(const Bytes &stored) {
        const Bytes primary = key_value(facts().keys[0], stored);
        const auto [held, inserted] = current->records.try_emplace(primary, stored);
        if (inserted)
            return;
        for (Open &iterator : open_)
            if (iterator.table == current && iterator.key != whole_table &&
                !has_key(facts().keys[iterator.key], stored, iterator.value))
                iterator.due.erase(primary);
        held->second = stored;
    }

    [[nodiscard]] std::set<Bytes> having(std::size_t key, const Bytes &value) const {
        std::set<Bytes> found;
        for (const auto &[primary, stored] : current->records)
            if (key == whole_table || has_key(facts().keys[key], stored, value))
                found.insert(primary);
        return found;
    }

    // ---- Checks of every call

    void expect_events() const {
        for (std::uint32_t event = 0; event < L2VPN_DB_STAT_COUNT; ++event)
            require(current->functions->get_stat(event) == current->events[event], "events");
        if (counted_ == &alias_counted_)
            require(alias_events == alias_counted_, "events of the other descriptor");
    }

    [[nodiscard]] std::uint32_t actual(std::uint32_t event) const {
        return counted_ == &alias_counted_ ? alias_events[event]
                                           : current->functions->get_stat(event);
    }

    static std::uint32_t event_of(std::uint32_t code) {
        if (code >= L2VPN_STORE_BAD_KEY_AREA && code <= L2VPN_STORE_NOT_PRIMARY)
            return L2VPN_STORE_STAT_BAD_KEY;
        return L2VPN_STORE_STAT_BAD_REQUEST;
    }

    template <class Call>
    auto make(Call call) {
        log_lines = 0;
        failed_allocations = 0;
        in_store = true;
        const auto result = call();
        in_store = false;
        allocations_left.reset();
        return result;
    }

    /// Checks after each call: one event, and one log line if it was rejected.
    void counted(std::uint32_t event, bool logged = false) {
        if (table_rejected_.empty())
            ++counted_->at(event);
        expect_counted(logged ? 1 : 0);
    }

    void expect_counted(std::uint32_t logged) const {
        if (!in_bulk_)
            expect_events();
        const bool has_log = module_ != nullptr && module_->log != 0;
        require(log_lines == (has_log ? logged : 0U), "log lines");
    }

    /// Whether the call was rejected as expected, or an allocation failed.
    bool rejected(std::uint32_t code, const Codes &expected) {
        if (failed_allocations != 0 && (expected.empty() || code == L2VPN_STORE_NO_MEMORY)) {
            require(code == L2VPN_STORE_NO_MEMORY, "a failed allocation");
            counted(L2VPN_STORE_STAT_NO_MEMORY, true);
            return true;
        }
        if (expected.empty())
            return false;
        require(expected.contains(code), "error code of an invalid request");
        counted(event_of(code), true);
        return true;
    }

    // ---- The calls

    void call() {
        if (input_.one_in(32))
            allocations_left = input_.byte() % 4;
        const std::uint8_t choice = input_.byte();
        if (choice >= 240)
            return choice % 3 == 0 ? write_if() : choice % 3 == 1 ? read_many() : next_many();
        switch (choice % 24) {
        case 0:
        case 1:
        case 2:
        case 3:
            return write(some_record());
        case 4:
        case 5: {
            KeyCall key = some_key(false);
            return read(key);
        }
        case 6:
        case 7: {
            KeyCall key = some_key(true);
            return remove(key);
        }
        case 8:
        case 9:
        case 10:
            return update();
        case 11:
            return count(true);
        case 12: {
            KeyCall key = some_key(false);
            return count_by(key);
        }
        case 13:
            make_room();
            return open(nullptr);
        case 14:
        case 15: {
            make_room();
            KeyCall key = some_key(false);
            return open(&key);
        }
        case 16:
        case 17:
            return next(some_handle());
        case 18:
            return release(some_handle());
        case 19:
            return input_.one_in(2) ? choose_table() : choose_descriptor();
        case 20:
            return choose_module();
        case 21:
            return objects();
        case 22:
            return many();
        default:
            return iterate_twice();
        }
    }

    void write(const Bytes &stored) {
        RecordCall record = some_record_request(stored);
        write(stored, record.pointer(), record.rejected);
    }

    void write(const Bytes &stored, const L2vpnDbRecData *request, const Codes &wrong) {
        const std::uint32_t code = make([&] { return DAL_VELD_Write(module_, intf_, request); });
        if (rejected(code, wrong))
            return;
        require(code == L2VPN_DB_OK, "result of Write");
        const bool held = current->records.contains(key_value(facts().keys[0], stored));
        counted(held ? L2VPN_STORE_STAT_REPLACED : L2VPN_STORE_STAT_INSERTED);
        store_in_model(stored);
    }

    void write_if() {
        const Bytes stored = some_record();
        RecordCall record = some_record_request(stored);
        const auto held = current->records.find(key_value(facts().keys[0], stored));
        const bool is_held = held != current->records.end();
        const std::size_t kind = input_.below(4);
        Bytes expected = kind < 2 && is_held ? held->second : stored;
        if (kind == 1)
            expected[input_.number<std::uint16_t>() % expected.size()] ^= 1;
        RecordCall condition = some_record_request(expected);
        if (kind == 3)
            condition.null = true;
        Codes wrong = record.rejected;
        if (!condition.null)
            wrong.insert(condition.rejected.begin(), condition.rejected.end());
        const std::uint32_t code = make([&] {
            return L2VPN_STORE_WriteIf(module_, intf_, condition.pointer(), record.pointer());
        });
        if (rejected(code, wrong))
            return;
        if (condition.null ? is_held : !is_held || held->second != expected) {
            require(code == L2VPN_STORE_CONFLICT, "result of WriteIf");
            return counted(L2VPN_STORE_STAT_UPDATE_REFUSED);
        }
        require(code == L2VPN_DB_OK, "result of WriteIf");
        counted(is_held ? L2VPN_STORE_STAT_REPLACED : L2VPN_STORE_STAT_INSERTED);
        store_in_model(stored);
    }

    void read(KeyCall &key) {
        RecordCall record = some_record_request({});
        Codes wrong = key.rejected;
        wrong.insert(record.rejected.begin(), record.rejected.end());
        const std::uint32_t code =
            make([&] { return DAL_VELD_Read(module_, intf_, key.pointer(), record.pointer()); });
        if (rejected(code, wrong))
            return;
        counted(expect_read(key, code, *record.buffer));
    }

    /// Checks the result of a valid read. Returns the event that it counts.
    std::uint32_t expect_read(const KeyCall &key, std::uint32_t code, const Exact &buffer) const {
        const std::set<Bytes> found = having(key.index, key.wanted);
        require(code == (found.empty() ? L2VPN_STORE_NOT_FOUND : L2VPN_DB_OK), "result of Read");
        if (!found.empty())
            expect_held(buffer.contents(), found);
        const std::uint32_t missed = found.empty() ? 1 : 0;
        return (key.index == 0 ? L2VPN_STORE_STAT_READ : L2VPN_STORE_STAT_KEY_READ) + missed;
    }

    /// Reads of one call, each of which may be invalid.
    void read_many() {
        const std::size_t count = input_.below(40);
        std::vector<KeyCall> keys;
        std::vector<RecordCall> records;
        std::vector<L2vpnDbKeyData> key_requests;
        std::vector<L2vpnDbRecData> record_requests;
        for (std::size_t i = 0; i < count; ++i) {
            keys.push_back(some_key(false));
            records.push_back(some_record_request({}));
            key_requests.push_back(keys.back().request);
            record_requests.push_back(records.back().request);
            if (keys.back().null)
                key_requests.back().keyId = nullptr;
            if (records.back().null)
                record_requests.back().data = nullptr;
        }
        std::vector<std::uint32_t> codes(count, 77);
        const std::uint32_t code = make([&] {
            return L2VPN_STORE_ReadMany(module_, intf_, key_requests.data(), record_requests.data(),
                                        static_cast<std::uint32_t>(count), codes.data());
        });
        if (rejected(code, table_rejected_))
            return;
        const auto failed =
            std::ranges::find_if(codes, [](std::uint32_t of_one) { return of_one != L2VPN_DB_OK; });
        require(code == (failed == codes.end() ? L2VPN_DB_OK : *failed), "result of ReadMany");
        std::uint32_t logged = 0;
        for (std::size_t i = 0; i < count; ++i) {
            Codes wrong = keys[i].rejected;
            wrong.insert(records[i].rejected.begin(), records[i].rejected.end());
            if (wrong.empty()) {
                ++counted_->at(expect_read(keys[i], codes[i], *records[i].buffer));
                continue;
            }
            require(wrong.contains(codes[i]), "error code of an invalid read");
            ++counted_->at(event_of(codes[i]));
            ++logged;
        }
        expect_counted(logged);
    }

    /// Checks a record that was read; returns its primary key, which must be one of `expected`.
    Bytes expect_held(std::span<const std::uint8_t> read, const std::set<Bytes> &expected) const {
        const Bytes stored(read.begin(), read.end());
        const Bytes primary = key_value(facts().keys[0], stored);
        require(expected.contains(primary), "an unexpected record");
        require(current->records.at(primary) == stored, "contents of a record");
        return primary;
    }

    void remove(KeyCall &key) {
        const std::uint32_t code =
            make([&] { return DAL_VELD_Delete(module_, intf_, key.pointer()); });
        if (rejected(code, key.rejected))
            return;
        const bool held = current->records.erase(key.wanted) != 0;
        require(code == (held ? L2VPN_DB_OK : L2VPN_STORE_NOT_FOUND), "result of Delete");
        counted(held ? L2VPN_STORE_STAT_DELETED : L2VPN_STORE_STAT_DELETE_MISSED);
        for (Open &iterator : open_)
            if (iterator.table == current)
                iterator.due.erase(key.wanted);
    }

    void update() {
        KeyCall key = some_key(true);
        const Field *const batch = facts().find("batchVersion");
        const auto held = current->records.find(key.wanted);
        setting.kind = static_cast<Setting>(input_.below(4));
        setting.result = input_.one_in(4) ? input_.number<std::uint32_t>() : 0;
        setting.calls = 0;
        setting.contents = some_record();
        if (input_.below(8) != 0 && held != current->records.end())
            for (const Field &member : facts().keys[0].members)
                std::copy_n(held->second.begin() + member.stored_offset, member.width,
                            setting.contents.begin() + member.stored_offset);

        // The caller record and the field ids, which only the setter reads.
        const Exact caller(
            unpacked_record(facts(), setting.contents, Bytes(facts().record_size, 0xC3)));
        const std::uint8_t way = input_.byte();
        const bool no_caller = way % 8 == 7;
        const L2vpnDbRecData record{no_caller ? nullptr : caller.data(), facts().record_size, 0};
        std::vector<std::uint32_t> ids(input_.below(4));
        for (std::uint32_t &id : ids)
            id = batch != nullptr && !input_.one_in(4) ? batch->id : input_.byte();
        const Exact list(std::span(reinterpret_cast<const std::uint8_t *>(ids.data()),
                                   ids.size() * sizeof(std::uint32_t)));
        const bool no_list = way / 8 % 8 == 7;
        setting.record = way >= 248 ? nullptr : &record;
        setting.ids = no_list ? nullptr : words(list);
        setting.id_count =
            no_list ? input_.number<std::uint32_t>() : static_cast<std::uint32_t>(ids.size());
        const L2vpnDbUpdData request{setting.ids, setting.id_count, 0,
                                     way >= 244 ? nullptr : setter};
        const L2vpnDbUpdData *const pointer = way >= 240 && way < 244 ? nullptr : &request;

        Codes wrong = key.rejected;
        if (setting.record == nullptr || no_caller || pointer == nullptr ||
            request.setFields == nullptr ||
            (table_rejected_.empty() &&
             (intf_->createObject == nullptr || intf_->releaseObject == nullptr ||
              intf_->setAllFields == nullptr)))
            wrong.insert(L2VPN_STORE_NULL_POINTER);
        const std::uint32_t code = make([&] {
            return DAL_VELD_Update(module_, intf_, key.pointer(), setting.record, pointer);
        });
        if (setting.calls != 0)
            require(!allocated.contains(setting.object), "record object is released");
        if (rejected(code, wrong))
            return require(setting.calls <= (failed_allocations != 0 ? 1U : 0U),
                           "setter called by a rejected update");
        require(setting.calls == (held != current->records.end() ? 1U : 0U), "calls of the setter");
        if (held == current->records.end()) {
            require(code == L2VPN_STORE_NOT_FOUND, "result of Update without a record");
            return counted(L2VPN_STORE_STAT_UPDATE_MISSED);
        }

        Bytes after = held->second;
        std::uint32_t result = setting.result;
        if (setting.kind == Setting::library) {
            result = L2VPN_DB_ERR_PARAM;
            if (batch != nullptr && !no_list && !ids.empty() &&
                std::count(ids.begin(), ids.end(), batch->id) ==
                    static_cast<std::ptrdiff_t>(ids.size())) {
                result = L2VPN_DB_OK;
                std::copy_n(setting.contents.begin() + batch->stored_offset, batch->width,
                            after.begin() + batch->stored_offset);
            }
        } else if (setting.kind == Setting::contents) {
            after = setting.contents;
        } else if (setting.kind == Setting::reset) {
            after.assign(after.size(), 0);
        }
        const bool changes_key =
            result == L2VPN_DB_OK && key_value(facts().keys[0], after) != held->first;
        if (changes_key)
            result = L2VPN_STORE_KEY_CHANGED;
        require(code == result, "result of Update");
        if (result != L2VPN_DB_OK)
            return counted(L2VPN_STORE_STAT_UPDATE_REFUSED, changes_key);
        counted(L2VPN_STORE_STAT_UPDATED);
        store_in_model(after);
    }

    void count(bool maybe_invalid) {
        std::uint32_t found = 0;
        std::uint32_t *const pointer = maybe_invalid && input_.one_in(8) ? nullptr : &found;
        Codes wrong = table_rejected_;
        if (pointer == nullptr)
            wrong.insert(L2VPN_STORE_NULL_POINTER);
        const std::uint32_t code = make([&] { return DAL_VELD_Count(module_, intf_, pointer); });
        if (rejected(code, wrong))
            return require(found == 0, "count unchanged by a rejected call");
        require(code == L2VPN_DB_OK && found == current->records.size(), "result of Count");
        counted(L2VPN_STORE_STAT_COUNTED);
    }

    void count_by(KeyCall &key) {
        std::uint32_t found = 0;
        std::uint32_t *const pointer = input_.one_in(16) ? nullptr : &found;
        Codes wrong = key.rejected;
        if (pointer == nullptr)
            wrong.insert(L2VPN_STORE_NULL_POINTER);
        const std::uint32_t code =
            make([&] { return DAL_VELD_CountByKey(module_, intf_, key.pointer(), pointer); });
        if (rejected(code, wrong))
            return require(found == 0, "count unchanged by a rejected call");
        require(code == L2VPN_DB_OK && found == having(key.index, key.wanted).size(),
                "result of CountByKey");
        counted(L2VPN_STORE_STAT_KEY_COUNTED);
    }

    void make_room() {
        if (open_.size() < max_open)
            return;
        Table &table = *current;
        use(*open_.front().table);
        release(open_.front().handle);
        use(table);
    }

    void open(KeyCall *key) {
        const Codes &wrong = key != nullptr ? key->rejected : table_rejected_;
        L2vpnDbIter *const handle = make([&] {
            return key != nullptr ? DAL_VELD_CreateIteratorByKey(module_, intf_, key->pointer())
                                  : DAL_VELD_CreateIterator(module_, intf_);
        });
        if (handle == nullptr) {
            // The statistics tell the code.
            const bool no_memory = failed_allocations != 0;
            require(no_memory || !wrong.empty(), "valid iterator request fails");
            if (no_memory)
                return counted(L2VPN_STORE_STAT_NO_MEMORY, true);
            std::uint32_t event = event_of(*wrong.begin());
            for (const std::uint32_t code : wrong)
                if (actual(event_of(code)) != counted_->at(event_of(code)))
                    event = event_of(code);
            return counted(event, true);
        }
        require(wrong.empty() && failed_allocations == 0, "invalid iterator request succeeds");
        for (const Open &other : open_)
            require(other.handle != handle, "handle is in use");
        counted(key != nullptr ? L2VPN_STORE_STAT_KEY_ITER_OPENED : L2VPN_STORE_STAT_ITER_OPENED);
        const std::size_t index = key != nullptr ? key->index : whole_table;
        const Bytes value = key != nullptr ? key->wanted : Bytes();
        open_.push_back({handle, current, index, value, having(index, value)});
    }

    /// A handle: open, of any table; released; or invented.
    L2vpnDbIter *some_handle() {
        const std::size_t kind = input_.below(8);
        if (kind < 5 && !open_.empty())
            return open_[input_.below(open_.size())].handle;
        if (kind == 5 && !released_.empty())
            return released_[input_.below(released_.size())];
        if (kind == 6)
            return static_cast<L2vpnDbIter *>(current->functions->control_block);
        auto bits = input_.number<std::uint64_t>();
        if (kind == 7 && !open_.empty())
            bits = reinterpret_cast<std::uintptr_t>(open_[bits % open_.size()].handle) ^
                   std::uint64_t{1} << bits / 32 % 64;
        return reinterpret_cast<L2vpnDbIter *>(bits);
    }

    [[nodiscard]] std::vector<Open>::iterator find(const L2vpnDbIter *handle) {
        return std::find_if(open_.begin(), open_.end(), [&](const Open &iterator) {
            return iterator.table == current && iterator.handle == handle;
        });
    }

    void next(L2vpnDbIter *handle) {
        RecordCall record = some_record_request({});
        next(handle, record.pointer(), *record.buffer, record.rejected);
    }

    /// Returns false if no record was delivered.
    bool next(L2vpnDbIter *handle, L2vpnDbRecData *request, const Exact &buffer,
              const Codes &wrong) {
        const auto iterator = find(handle);
        const std::uint32_t code =
            make([&] { return DAL_VELD_GetNextEntry(module_, intf_, handle, request); });
        if (code != L2VPN_DB_OK)
            for (const std::uint8_t byte : buffer.contents())
                require(byte == 0xA5, "buffer unchanged by a failed call");
        if (code == L2VPN_STORE_BAD_ITERATOR && iterator == open_.end() &&
            table_rejected_.empty()) {
            counted(L2VPN_STORE_STAT_BAD_ITERATOR, true);
            return false;
        }
        if (rejected(code, wrong))
            return false;
        require(iterator != open_.end(), "GetNextEntry with an invalid handle");
        if (iterator->due.empty()) {
            require(code == L2VPN_STORE_END, "end of an iterator");
            counted(L2VPN_STORE_STAT_ITER_ENDED);
            return false;
        }
        require(code == L2VPN_DB_OK, "result of GetNextEntry");
        counted(L2VPN_STORE_STAT_DELIVERED);
        iterator->due.erase(expect_held(buffer.contents(), iterator->due));
        return true;
    }

    void next_many() {
        L2vpnDbIter *const handle = some_handle();
        const auto iterator = find(handle);
        RecordCall record = some_record_request({});
        const std::size_t length = facts().stored_size;
        const std::size_t capacity = input_.below(20);
        const Exact buffer(record.rejected.empty() ? capacity * length : 1, 0xA5);
        if (record.request.data != nullptr)
            record.request.data = buffer.data();
        std::uint32_t delivered = 77;
        std::uint32_t *const result = input_.one_in(16) ? nullptr : &delivered;
        if (result == nullptr)
            record.rejected.insert(L2VPN_STORE_NULL_POINTER);
        const std::uint32_t code = make([&] {
            return L2VPN_STORE_NextMany(module_, intf_, handle, record.pointer(),
                                        static_cast<std::uint32_t>(capacity), result);
        });
        if (code == L2VPN_STORE_BAD_ITERATOR && iterator == open_.end() &&
            table_rejected_.empty()) {
            require(delivered == 0, "records of an invalid handle");
            return counted(L2VPN_STORE_STAT_BAD_ITERATOR, true);
        }
        if (rejected(code, record.rejected))
            return;
        require(iterator != open_.end(), "NextMany with an invalid handle");
        const std::size_t expected = std::min(capacity, iterator->due.size());
        require(delivered == expected, "number of delivered records");
        if (expected == 0 && capacity != 0) {
            require(code == L2VPN_STORE_END, "end of an iterator");
            return counted(L2VPN_STORE_STAT_ITER_ENDED);
        }
        require(code == L2VPN_DB_OK, "result of NextMany");
        for (std::size_t i = 0; i < expected; ++i) {
            ++counted_->at(L2VPN_STORE_STAT_DELIVERED);
            iterator->due.erase(
                expect_held(buffer.contents().subspan(i * length, length), iterator->due));
        }
        expect_counted(0);
    }

    bool advance(const Open &iterator) {
        last_.emplace(facts().stored_size, 0xA5);
        L2vpnDbRecData request{last_->data(), facts().stored_size, 0};
        return next(iterator.handle, &request, *last_, table_rejected_);
    }

    void release(L2vpnDbIter *handle) {
        const std::uint32_t code =
            make([&] { return DAL_VELD_ReleaseIterator(module_, intf_, handle); });
        if (rejected(code, table_rejected_))
            return;
        const auto iterator = find(handle);
        if (iterator == open_.end()) {
            require(code == L2VPN_STORE_BAD_ITERATOR, "release of an invalid handle");
            return counted(L2VPN_STORE_STAT_BAD_ITERATOR, true);
        }
        require(code == L2VPN_DB_OK, "result of ReleaseIterator");
        counted(L2VPN_STORE_STAT_ITER_RELEASED);
        open_.erase(iterator);
        released_.push_back(handle);
    }

    /// The record-object functions outside an update, and the statistics functions.
    void objects() {
        const L2vpnDbTblIntf &intf = *current->functions->descriptor;
        const Bytes stored = some_record();
        RecordCall record = some_record_request(stored);
        Codes wrong = record.rejected;
        for (const std::uint32_t code : table_rejected_)
            wrong.erase(code);
        failed_allocations = 0;
        L2vpnDbRecObj *const object = intf.createObject(module_);
        require((object == nullptr) == (failed_allocations != 0), "result of createObject");
        allocations_left.reset();
        const std::uint32_t code = intf.setAllFields(object, record.pointer());
        if (object == nullptr)
            require(code == L2VPN_STORE_BAD_OBJECT, "setAllFields without an object");
        else
            require(wrong.empty() ? code == L2VPN_DB_OK : wrong.contains(code),
                    "result of setAllFields");
        const TypedTable &other = typed_tables[input_.below(typed_tables.size())];
        if (&other != current->functions)
            require(other.descriptor->setAllFields(object, record.pointer()) != L2VPN_DB_OK,
                    "object of another table");
        intf.resetObject(module_, object);
        intf.releaseObject(module_, object);
        intf.resetObject(module_, nullptr);
        intf.releaseObject(module_, nullptr);

        const std::uint32_t event = input_.number<std::uint32_t>() >> input_.below(32);
        const std::uint32_t amount = input_.number<std::uint32_t>();
        current->functions->stat(event, amount);
        if (event < L2VPN_DB_STAT_COUNT)
            current->events[event] += amount;
        else
            require(current->functions->get_stat(event) == 0, "counter of an unknown identifier");
        expect_events();
    }

    /// Enough records for the indexes to grow.
    void many() {
        use(*current);
        module_ = L2VPN_DB_ModuleIntf();
        const std::uint32_t from = input_.byte();
        const std::uint32_t records = std::min<std::uint32_t>(input_.byte() * 4U, budget_);
        const std::uint8_t spread = input_.byte();
        const bool deletes = input_.one_in(4);
        const bool fails = input_.one_in(2); // each call fails first, without memory
        budget_ -= records;
        in_bulk_ = true;
        for (std::uint32_t i = 0; i < records; ++i) {
            Bytes stored = numbered_record(from + i, spread);
            if (deletes) {
                KeyCall key = valid_key(0, key_value(facts().keys[0], stored));
                remove(key);
            } else {
                const L2vpnDbRecData request{stored.data(), facts().stored_size, 0};
                if (fails) {
                    allocations_left = i % 4;
                    write(stored, &request, table_rejected_);
                }
                write(stored, &request, table_rejected_);
            }
        }
        in_bulk_ = false;
        expect_events();
    }

    /// Iterates over a key twice. While nothing changes, the order is the same, and Read returns
    /// the first record.
    void iterate_twice() {
        if (!table_rejected_.empty())
            return;
        const std::size_t index = input_.below(facts().keys.size() + 1);
        if (index == facts().keys.size()) {
            require(walk(whole_table, {}) == walk(whole_table, {}), "stable order");
            return;
        }
        const Bytes value = key_value(facts().keys[index], some_record());
        const std::vector<Bytes> found = walk(index, value);
        require(found == walk(index, value), "stable order");
        const KeyCall key = valid_key(index, value);
        const Exact buffer(facts().stored_size, 0xA5);
        L2vpnDbRecData request{buffer.data(), facts().stored_size, 0};
        const std::uint32_t code =
            make([&] { return DAL_VELD_Read(module_, intf_, &key.request, &request); });
        require((code == L2VPN_DB_OK) == !found.empty(), "result of Read");
        if (!found.empty())
            require(std::ranges::equal(buffer.contents(), found.front()),
                    "Read returns the first record");
        const std::uint32_t missed = found.empty() ? 1 : 0;
        counted((index == 0 ? L2VPN_STORE_STAT_READ : L2VPN_STORE_STAT_KEY_READ) + missed);
    }

    /// The records that an iterator delivers, in its order.
    std::vector<Bytes> walk(std::size_t index, const Bytes &value) {
        make_room();
        allocations_left.reset();
        std::optional<KeyCall> key;
        if (index != whole_table)
            key.emplace(valid_key(index, value));
        open(key ? &*key : nullptr);
        std::vector<Bytes> found;
        const std::size_t expected = open_.back().due.size();
        while (advance(open_.back())) {
            const auto contents = last_->contents();
            found.emplace_back(contents.begin(), contents.end());
        }
        require(found.size() == expected, "number of delivered records");
        release(open_.back().handle);
        return found;
    }

    static constexpr std::size_t max_open = 40;

    Input input_;
    L2vpnDbModuleIntf *module_ = L2VPN_DB_ModuleIntf();
    L2vpnDbTblIntf *intf_ = nullptr;
    Codes table_rejected_; ///< the error codes of the chosen descriptor
    Counters *counted_ = nullptr;
    Counters alias_counted_{};
    std::set<Table *> used_;
    std::vector<Open> open_;
    std::vector<L2vpnDbIter *> released_;
    std::optional<Exact> last_;
    bool in_bulk_ = false;        ///< events are compared after the bulk only
    std::uint32_t budget_ = 1200; ///< records left for bulk calls
};

void register_services() {
    const L2vpnDbMemIntf memory = l2vpn_store_memory_service(allocate, release);
    const L2vpnDbLogIntf log = l2vpn_store_log_service(write_log);
    L2VPN_DB_MemIntfReg(&memory);
    L2VPN_DB_LogIntfReg(&log);
}

} // namespace
} // namespace l2vpn::test

// Replaced directories are never freed, although nothing points to them.
extern "C" const char *__asan_default_options();
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0";
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace l2vpn::test;
    [[maybe_unused]] static const bool registered = (register_services(), true);
    allocations_left.reset();
    Player player(Input(data, size));
    player.play();
    player.finish();
    return 0;
}
