// SPDX-License-Identifier: MIT
#include "platform/store/registry.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string_view>

/// pthread_atfork without its wrapper, which is linked statically and not hardened.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the C library's name
extern "C" int __register_atfork(void (*prepare)(), void (*parent)(), void (*child)(),
                                 void *shared_object);

namespace l2vpn::platform {

namespace {

/// By the number of the layout; null until the first use.
constinit Table *tables[max_tables] = {};
constinit std::mutex mutex; ///< held to create a table and to insert into the cache

const TableLayout *find_layout(std::string_view name) {
    const auto found = std::lower_bound(
        table_layouts.begin(), table_layouts.end(), name,
        [](const TableLayout &table, std::string_view wanted) { return table.name < wanted; });
    return found != table_layouts.end() && found->name == name ? &*found : nullptr;
}

/// Returns the descriptor's cache entry, or a free entry for it, or null.
DescriptorCache::Entry *probe(const L2vpnDbTblIntf *descriptor) {
    const std::size_t home = DescriptorCache::home(descriptor);
    for (std::size_t n = 0; n < DescriptorCache::max_probes; ++n) {
        DescriptorCache::Entry &entry =
            DescriptorCache::entries[(home + n) % DescriptorCache::size];
        if (entry.is_of(descriptor) || load(entry.descriptor) == nullptr)
            return &entry;
    }
    return nullptr;
}

// ---- Fork handlers ----------------------------------------------------------------------------

// The forking thread holds all locks during the fork, so that the child's copy is consistent and no
// other thread owns a lock in it. A thread that is already inside the store (in a memory service,
// or in a signal handler that interrupted a call) holds one of them and takes none.

constinit thread_local bool locked_for_fork = false;

void before_fork() {
    if (inside_store)
        return;
    inside_store = true;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    mutex.lock();
    for (Table *const table : std::span(tables).first(table_layouts.size()))
        if (table != nullptr)
            table->lock_for_fork();
    locked_for_fork = true;
}

void after_fork_in_parent() {
    if (!locked_for_fork)
        return;
    for (Table *const table : std::span(tables).first(table_layouts.size()))
        if (table != nullptr)
            table->unlock_after_fork();
    mutex.unlock();
    locked_for_fork = false;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    inside_store = false;
}

void after_fork_in_child() {
    if (locked_for_fork)
        Events::forget_other_threads();
    after_fork_in_parent();
}

/// Handlers that are registered several times work once per fork. An allocation failure is ignored:
/// the C library's list has room for 48 sets without one.
void register_fork_handlers() {
    __register_atfork(before_fork, after_fork_in_parent, after_fork_in_child, nullptr);
}

// For forks at any time after loading.
[[gnu::constructor]] void register_at_load() {
    register_fork_handlers();
}

/// Registers the handlers once more before the first table is created. Handlers that lock run in
/// the reverse order of registration, and the locks of the memory service, whose handlers may have
/// been registered meanwhile, are taken after the store's.
void register_before_first_table() {
    static constinit std::atomic<bool> registered{false};
    if (registered.load(std::memory_order_acquire))
        return;
    register_fork_handlers();
    registered.store(true, std::memory_order_release);
}

// ---- Tables -----------------------------------------------------------------------------------

/// Returns the descriptor's table, created on first use, and caches it if there is a free entry.
Table *register_table(const Allocator &allocator, const L2vpnDbTblIntf *descriptor,
                      std::uint32_t number) {
    const ReentrancyGuard guard;
    register_before_first_table();
    const std::lock_guard lock(mutex);
    Table *table = tables[number];
    if (table == nullptr) {
        table = Table::create(allocator, table_layouts[number], number);
        if (table == nullptr)
            return nullptr;
        __atomic_store_n(&tables[number], table, __ATOMIC_RELEASE);
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

Located find_or_create_table(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf *descriptor) {
    constexpr Located unknown{nullptr, L2VPN_STORE_UNKNOWN_TABLE};
    if (descriptor == nullptr || descriptor->name == nullptr)
        return unknown;
    const DescriptorCache::Entry *const entry = probe(descriptor);
    if (entry != nullptr && entry->is_of(descriptor))
        return {load(entry->table), L2VPN_DB_OK};
    const TableLayout *const layout = find_layout(descriptor->name);
    if (layout == nullptr)
        return unknown;
    const auto number = static_cast<std::uint32_t>(layout - table_layouts.data());
    Table *table = __atomic_load_n(&tables[number], __ATOMIC_ACQUIRE);
    if (table == nullptr || entry != nullptr)
        table = register_table(Allocator(module), descriptor, number);
    return {table, table != nullptr ? L2VPN_DB_OK : L2VPN_STORE_NO_MEMORY};
}

} // namespace l2vpn::platform
