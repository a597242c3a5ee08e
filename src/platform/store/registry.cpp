// SPDX-License-Identifier: MIT
#include "platform/store/registry.h"

#include <algorithm>
#include <mutex>
#include <string_view>

namespace l2vpn::platform {

namespace {

constinit Table *tables = nullptr; ///< linked through `older`
constinit std::mutex mutex;        ///< guards `tables` and insertions into the cache

const TableLayout *find_layout(std::string_view name) {
    const auto found = std::lower_bound(
        table_layouts.begin(), table_layouts.end(), name,
        [](const TableLayout &table, std::string_view wanted) { return table.name < wanted; });
    return found != table_layouts.end() && found->name == name ? &*found : nullptr;
}

/// Returns the descriptor's cache entry, or the free entry for it; null if the cache is full.
DescriptorCache::Entry *probe(const L2vpnDbTblIntf *descriptor) {
    std::size_t at = DescriptorCache::home(descriptor);
    for (std::size_t n = 0; n < DescriptorCache::size; ++n) {
        DescriptorCache::Entry &entry = DescriptorCache::entries[at];
        const L2vpnDbTblIntf *const found = __atomic_load_n(&entry.descriptor, __ATOMIC_ACQUIRE);
        if (found == descriptor || found == nullptr)
            return &entry;
        at = (at + 1) % DescriptorCache::size;
    }
    return nullptr;
}

/// Returns the descriptor's table and caches it. A descriptor whose name has changed, or that does
/// not fit into the cache, is looked up by name each time.
Table *register_table(const Allocator &allocator, const L2vpnDbTblIntf *descriptor,
                      const TableLayout &layout) {
    const std::lock_guard lock(mutex);
    const ReentrancyGuard guard;
    Table *table = tables;
    while (table != nullptr && &table->layout() != &layout)
        table = table->older;
    if (table == nullptr) {
        const auto number = static_cast<std::uint32_t>(&layout - table_layouts.data());
        table = Table::create(allocator, layout, number);
        if (table == nullptr)
            return nullptr;
        table->older = tables;
        tables = table;
    }
    DescriptorCache::Entry *const entry = probe(descriptor);
    if (entry != nullptr && entry->descriptor == nullptr) {
        store(entry->name, descriptor->name);
        store(entry->table, table);
        __atomic_store_n(&entry->descriptor, descriptor, __ATOMIC_RELEASE);
    }
    return table;
}

} // namespace

Table *find_or_create_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor,
                            std::uint32_t &code) {
    code = L2VPN_STORE_UNKNOWN_TABLE;
    if (descriptor == nullptr || descriptor->name == nullptr)
        return nullptr;
    const DescriptorCache::Entry *const entry = probe(descriptor);
    if (entry != nullptr && __atomic_load_n(&entry->descriptor, __ATOMIC_ACQUIRE) == descriptor &&
        load(entry->name) == descriptor->name)
        return load(entry->table);
    const TableLayout *const layout = find_layout(descriptor->name);
    if (layout == nullptr)
        return nullptr;
    Table *const table = register_table(Allocator(module), descriptor, *layout);
    if (table == nullptr)
        code = L2VPN_STORE_NO_MEMORY;
    return table;
}

} // namespace l2vpn::platform
