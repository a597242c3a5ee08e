// SPDX-License-Identifier: MIT
#include "platform/store/registry.h"

#include <mutex>
#include <string_view>

#include "platform/store/reentrancy_guard.h"

namespace l2vpn::platform {

namespace {

constinit Table *tables = nullptr; ///< all that there are, the newest first
constinit std::mutex creating;

const TableLayout *find_layout(std::string_view name) {
    const auto found = std::lower_bound(
        table_layouts.begin(), table_layouts.end(), name,
        [](const TableLayout &table, std::string_view wanted) { return table.name < wanted; });
    return found != table_layouts.end() && found->name == name ? &*found : nullptr;
}

Table *table_of(const Allocator &allocator, const TableLayout &layout) {
    for (Table *table = tables; table != nullptr; table = table->older)
        if (&table->layout() == &layout)
            return table;
    Table *const table = Table::create(allocator, layout,
                                       static_cast<std::uint32_t>(&layout - table_layouts.data()));
    if (table != nullptr) {
        table->older = tables;
        tables = table;
    }
    return table;
}

/// The descriptor's table, created and made known. A descriptor for which there is no place is
/// looked up by its name each time.
Table *register_table(const Allocator &allocator, const L2vpnDbTblIntf *descriptor,
                      const TableLayout &layout) {
    const std::lock_guard lock(creating);
    const ReentrancyGuard inside;
    Table *const table = table_of(allocator, layout);
    if (table == nullptr)
        return nullptr;
    std::size_t place = DescriptorCache::place(descriptor);
    for (std::size_t n = 0; n < DescriptorCache::size;
         ++n, place = (place + 1) % DescriptorCache::size) {
        Known &known = DescriptorCache::at[place];
        if (known.descriptor == descriptor)
            break;
        if (known.descriptor == nullptr) {
            store(known.name, descriptor->name);
            store(known.table, table);
            __atomic_store_n(&known.descriptor, descriptor, __ATOMIC_RELEASE);
            break;
        }
    }
    return table;
}

} // namespace

Table *find_or_create_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor,
                            std::uint32_t &code) {
    code = L2VPN_STORE_UNKNOWN_TABLE;
    if (descriptor == nullptr || descriptor->name == nullptr)
        return nullptr;
    std::size_t place = DescriptorCache::place(descriptor);
    for (std::size_t n = 0; n < DescriptorCache::size;
         ++n, place = (place + 1) % DescriptorCache::size) {
        const Known &known = DescriptorCache::at[place];
        const L2vpnDbTblIntf *const found = __atomic_load_n(&known.descriptor, __ATOMIC_ACQUIRE);
        if (found == descriptor && load(known.name) == descriptor->name)
            return load(known.table);
        if (found == nullptr || found == descriptor)
            break;
    }
    const TableLayout *const layout = find_layout(descriptor->name);
    if (layout == nullptr)
        return nullptr;
    Table *const table = register_table(Allocator(module), descriptor, *layout);
    if (table == nullptr)
        code = L2VPN_STORE_NO_MEMORY;
    return table;
}

} // namespace l2vpn::platform
