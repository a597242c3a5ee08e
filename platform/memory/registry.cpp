// SPDX-License-Identifier: MIT
#include "platform/memory/registry.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <string_view>

#include "platform/memory/reentry.h"

namespace l2vpn::platform {

namespace {

/// A table, once per process, and the next one.
struct Entry {
    const TableLayout *layout;
    Table *table;
    Events events;
    Entry *next;
};

/// A descriptor that has been used before, and its name then: another may have taken its place.
struct Known {
    const L2vpnDbTblIntf *descriptor;
    const char *name;
    Entry *entry;
};

constexpr std::size_t known_size = 1024; // a power of two; what finds no place is looked up by name
constinit Known known[known_size] = {};
constinit Entry *entries = nullptr;
constinit std::mutex creating;

std::size_t place(const L2vpnDbTblIntf *descriptor) {
    return reinterpret_cast<std::uintptr_t>(descriptor) / 16 % known_size;
}

const TableLayout *find_layout(std::string_view name) {
    const auto found = std::lower_bound(
        table_layouts.begin(), table_layouts.end(), name,
        [](const TableLayout &table, std::string_view wanted) { return table.name < wanted; });
    return found != table_layouts.end() && found->name == name ? &*found : nullptr;
}

Entry *create_entry(const Memory &memory, const TableLayout &layout) {
    for (Entry *entry = entries; entry != nullptr; entry = entry->next)
        if (entry->layout == &layout)
            return entry;
    void *const room = memory.allocate(sizeof(Entry));
    if (room == nullptr)
        return nullptr;
    Table *const table =
        Table::create(memory, layout, static_cast<std::uint32_t>(&layout - table_layouts.data()));
    if (table == nullptr) {
        memory.releaser()(room);
        return nullptr;
    }
    entries = new (room) Entry{&layout, table, {}, entries};
    return entries;
}

/// The descriptor's entry, created and made known.
Entry *register_table(const Memory &memory, const L2vpnDbTblIntf *descriptor,
                      const TableLayout &layout) {
    const std::lock_guard lock(creating);
    const InsideStore inside;
    Entry *const entry = create_entry(memory, layout);
    if (entry == nullptr)
        return nullptr;
    std::size_t at = place(descriptor);
    for (std::size_t n = 0; n < known_size; ++n, at = (at + 1) % known_size) {
        if (known[at].descriptor == descriptor)
            break;
        if (known[at].descriptor == nullptr) {
            store(known[at].name, descriptor->name);
            store(known[at].entry, entry);
            __atomic_store_n(&known[at].descriptor, descriptor, __ATOMIC_RELEASE);
            break;
        }
    }
    return entry;
}

} // namespace

Registered find_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor,
                      std::uint32_t &code) {
    code = L2VPN_STORE_UNKNOWN_TABLE;
    if (descriptor == nullptr)
        return {};
    std::size_t at = place(descriptor);
    for (std::size_t n = 0; n < known_size; ++n, at = (at + 1) % known_size) {
        const L2vpnDbTblIntf *const found =
            __atomic_load_n(&known[at].descriptor, __ATOMIC_ACQUIRE);
        if (found == descriptor && load(known[at].name) == descriptor->name) {
            Entry *const entry = load(known[at].entry);
            return {entry->table, &entry->events};
        }
        if (found == nullptr || found == descriptor)
            break;
    }
    const TableLayout *const layout =
        descriptor->name == nullptr ? nullptr : find_layout(descriptor->name);
    if (layout == nullptr)
        return {};
    Entry *const entry = register_table(Memory(module), descriptor, *layout);
    if (entry == nullptr) {
        code = L2VPN_STORE_NO_MEMORY;
        return {};
    }
    return {entry->table, &entry->events};
}

} // namespace l2vpn::platform
