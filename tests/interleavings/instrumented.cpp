// SPDX-License-Identifier: MIT
// The imports of the library within a scenario, instrumented like the library itself. The store
// accepts the calling thread's key only.
#include <cstddef>
#include <cstdint>

#include "tests/interleavings/calls.h"
#include "tests/interleavings/explorer.h"

namespace l2vpn::interleavings {

std::array<L2vpnVplsMacping, max_threads> records;

namespace {

/// Compares one part; a key takes three, so that other threads can run between them.
template <class Part>
bool same_part(const void *one, const void *other, std::size_t at) {
    Part parts[2];
    __builtin_memcpy(&parts[0], static_cast<const char *>(one) + at, sizeof(Part));
    __builtin_memcpy(&parts[1], static_cast<const char *>(other) + at, sizeof(Part));
    return parts[0] == parts[1];
}

/// Whether the request holds the key of the calling thread's record.
bool own_key(const L2vpnDbKeyData *request) {
    const L2vpnVplsMacping *const own = &records[this_thread()];
    return request->keyLength == key_length && *request->keyId == (1U << 16 | key_length) &&
           same_part<std::uint64_t>(request->key, own, 0) &&
           same_part<std::uint32_t>(request->key, own, 8) &&
           same_part<std::uint16_t>(request->key, own, 12);
}

} // namespace

namespace broken {

void lock(std::uint32_t &lock) {
    while (__atomic_load_n(&lock, __ATOMIC_ACQUIRE) != 0) {
    }
    __atomic_store_n(&lock, 1, __ATOMIC_RELAXED);
}

void unlock(std::uint32_t &lock) {
    __atomic_store_n(&lock, 0, __ATOMIC_RELEASE);
}

bool enter(std::uint32_t &own, const std::uint32_t &other) {
    __atomic_store_n(&own, 1, __ATOMIC_RELEASE);
    return __atomic_load_n(&other, __ATOMIC_ACQUIRE) == 0;
}

} // namespace broken

} // namespace l2vpn::interleavings

using namespace l2vpn::interleavings;

std::uint32_t DAL_VELD_Read(L2vpnDbModuleIntf * /*module*/, L2vpnDbTblIntf * /*table*/,
                            const L2vpnDbKeyData *key, L2vpnDbRecData * /*record*/) {
    return own_key(key) ? L2VPN_DB_OK : other_key;
}

L2vpnDbIter *DAL_VELD_CreateIteratorByKey(L2vpnDbModuleIntf * /*module*/,
                                          L2vpnDbTblIntf * /*table*/, const L2vpnDbKeyData *key) {
    return own_key(key) ? reinterpret_cast<L2vpnDbIter *>(records.data()) : nullptr;
}

/// Copies 6 bytes, the width of a MAC address.
int memcpy_s(void *destination, std::size_t /*destinationSize*/, const void *source,
             std::size_t /*count*/) {
    __builtin_memcpy(destination, source, 4);
    __builtin_memcpy(static_cast<char *>(destination) + 4, static_cast<const char *>(source) + 4,
                     2);
    return 0;
}
