// SPDX-License-Identifier: MIT
#include "tool/operands.h"

#include <algorithm>
#include <map>
#include <memory>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "l2vpn_db/memory_store.h"
#include "records/field_value.h"
#include "records/interrupt.h"
#include "tool/command.h"

namespace l2vpn::tool {
namespace {

using records::in_quotes;
using records::place_of;

/// The named item, which a search has found among the known names; null if it has not.
template <class Named>
const Named &known(const Named *found, const std::string &place, std::string_view what,
                   const std::string &name, const std::vector<std::string> &names) {
    if (found == nullptr) {
        throw Failure(exit_bad_input, records::unknown_name(0, place, what, name, names).text());
    }
    return *found;
}

/// Collects the record of a command line and its errors.
class OneRecord final : public records::RecordSink {
public:
    void record(const records::InputRecord &record) override { input = record; }
    void report(const records::Diagnostic &diagnostic) override {
        wrong += (wrong.empty() ? "" : "\n") + diagnostic.text();
    }

    records::InputRecord input{};
    std::string wrong;
};

std::string name_of(const std::string &value) {
    const std::size_t equals = value.find('=');
    if (equals == value.npos || equals == 0) {
        throw Failure(exit_bad_input,
                      fmt::format("argument {}: expected FIELD=VALUE", in_quotes(value)));
    }
    return value.substr(0, equals);
}

std::string members_text(const Key &key) {
    return fmt::format("{}", fmt::join(records::field_names(key.members), ", "));
}

} // namespace

bool has_member(const Key &key, const std::string &name) {
    return std::ranges::count(key.members, name, &Field::name) != 0;
}

const Table &table_named(const std::string &name) {
    return known(records::find_table(name), "", "table", name, records::table_names());
}

const Field &field_named(const Table &table, const std::string &name) {
    return known(table.field(name), place_of(table.name), "field", name,
                 records::field_names(table.fields));
}

const Key &key_named(const Table &table, const std::string &name) {
    return known(table.key(name), place_of(table.name), "key", name, records::key_names(table));
}

const Table &stored_table_named(const std::string &name) {
    const Table &table = table_named(name);
    if (!table.access) {
        throw Failure(exit_bad_input,
                      fmt::format("{}: not stored, only described and formatted; \"tables\" lists "
                                  "the stored tables",
                                  place_of(name)));
    }
    return table;
}

std::vector<const Table *> tables_named(const std::vector<std::string> &names) {
    std::vector<const Table *> result;
    for (const std::string &name : names.empty() ? records::table_names() : names) {
        result.push_back(&table_named(name));
    }
    return result;
}

std::vector<const Table *> stored_tables_named(const std::vector<std::string> &names) {
    std::vector<const Table *> result = tables_named(names);
    if (names.empty()) {
        std::erase_if(result, [](const Table *table) { return !table->access; });
    }
    std::ranges::for_each(result, [](const Table *table) { stored_table_named(table->name); });
    return result;
}

std::vector<Extent> extents_of(const Table &table, std::size_t size, std::size_t Field::*offset) {
    std::vector<Extent> extents;
    std::size_t end = 0;
    const auto pad_to = [&](std::size_t begin) {
        if (begin > end) {
            extents.push_back({end, begin - end, nullptr});
        }
    };
    for (const Field &field : table.fields) {
        pad_to(field.*offset);
        extents.push_back({field.*offset, field.width, &field});
        end = field.*offset + field.width;
    }
    pad_to(size);
    return extents;
}

std::vector<Field> fields_listed(const Table &table, const std::string &list) {
    if (list.empty()) {
        return table.fields;
    }
    std::vector<Field> fields;
    for (std::size_t from = 0; from <= list.size();) {
        const std::size_t comma = std::min(list.find(',', from), list.size());
        const Field &field = field_named(table, list.substr(from, comma - from));
        if (std::ranges::count(fields, field.name, &Field::name) != 0) {
            throw Failure(exit_bad_input, place_of(table.name, field.name) + ": given twice");
        }
        fields.push_back(field);
        from = comma + 1;
    }
    return fields;
}

records::InputRecord input_record(const Table &table, const std::vector<std::string> &values,
                                  const Key *required) {
    OneRecord one;
    records::RecordBuilder builder(one);
    builder.begin(table, 1);
    std::map<std::string, bool> given;
    for (const std::string &value : values) {
        const std::string name = name_of(value);
        if (!given.emplace(name, true).second) {
            one.report({0, place_of(table.name, name), "given twice", "given twice"});
            continue;
        }
        const Field *const field = table.field(name);
        const std::string word = value.substr(name.size() + 1);
        builder.field(name, 1, field == nullptr ? records::Value{} : parse_word(*field, word));
    }
    builder.end(required);
    if (!one.wrong.empty()) {
        throw Failure(exit_bad_input, one.wrong);
    }
    return one.input;
}

Bytes record_of(const Table &table, const std::vector<std::string> &values) {
    return input_record(table, values, nullptr).bytes;
}

Bytes record_with_key(const Table &table, const Key &key, const std::vector<std::string> &values,
                      bool only) {
    Bytes record = input_record(table, values, &key).bytes;
    for (const std::string &value : values) {
        if (const std::string name = name_of(value); only && !has_member(key, name)) {
            throw Failure(exit_bad_input,
                          fmt::format("{}, key {}: {} is not a member; its members are {}",
                                      place_of(table.name), in_quotes(key.name), name,
                                      members_text(key)));
        }
    }
    return record;
}

const Key &key_for(const Table &table, const std::string &name,
                   const std::vector<std::string> &values) {
    if (!name.empty()) {
        return key_named(table, name);
    }
    record_of(table, values); // reports invalid fields before a missing key
    for (const Key &key : table.keys) {
        if (key.members.size() == values.size() &&
            std::ranges::all_of(values, [&](const std::string &value) {
                return has_member(key, name_of(value));
            })) {
            return key;
        }
    }
    std::string known;
    for (const Key &key : table.keys) {
        known += fmt::format("\n  {:<18} {}", key.name, members_text(key));
    }
    throw Failure(exit_bad_input,
                  fmt::format("{}: no key has exactly these members; its keys are:{}",
                              place_of(table.name), known));
}

std::string result_text(std::uint32_t result) {
    return fmt::format("{} (result {:#x})", l2vpn_store_result_text(result), result);
}

void check(std::uint32_t result, const std::string &what) {
    if (result != L2VPN_DB_OK) {
        throw Failure(exit_failed, fmt::format("{}: {}", what, result_text(result)));
    }
}

std::uint32_t count(const Table &table) {
    std::uint32_t records = 0;
    check(table.access->count(&records), table.name + ": count");
    return records;
}

void walk(const Table &table, const Key &key, const Bytes *record, const Visitor &visit) {
    const L2vpnDalIntf &access = *table.access;
    const auto length = static_cast<std::uint32_t>(table.record_size);
    const std::unique_ptr<L2vpnDbIter, std::uint32_t (*)(L2vpnDbIter *)> iterator(
        access.createIter(key.index, record == nullptr ? nullptr : record->data(), length),
        access.releaseIter);
    if (iterator == nullptr) {
        throw Failure(exit_failed, table.name + ": the store cannot open an iterator");
    }
    Bytes next(table.record_size);
    std::uint32_t result = access.getNext(iterator.get(), next.data(), length);
    for (; result == L2VPN_DB_OK; result = access.getNext(iterator.get(), next.data(), length)) {
        records::check_interrupt();
        visit(next);
    }
    // The fast iterator ends with its own codes.
    if (result != L2VPN_STORE_END && result != L2VPN_DB_NO_MORE &&
        result != L2VPN_STORE_NOT_FOUND) {
        check(result, table.name + ": next record");
    }
}

} // namespace l2vpn::tool
