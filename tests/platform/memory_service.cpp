// SPDX-License-Identifier: MIT
#include "tests/platform/memory_service.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "l2vpn_db/memory_store.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define L2VPN_TEST_SANITIZER_HAS_MALLOC
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define L2VPN_TEST_SANITIZER_HAS_MALLOC
#endif

namespace l2vpn::test {
namespace {

std::atomic<std::uint32_t> allocated{0};
std::atomic<std::uint32_t> released{0};
std::atomic<std::size_t> held{0};
std::atomic<Hook> hook{nullptr};

thread_local std::optional<std::uint32_t> until_failure;
thread_local bool fails_once = false;
constinit thread_local bool inside_service = false;
constinit thread_local std::uint32_t direct = 0;
[[maybe_unused]] constinit thread_local bool direct_fails = false;

/// Precedes each allocation and keeps its alignment.
struct alignas(std::max_align_t) Header {
    std::size_t size;
};

void *allocate(std::size_t size) {
    if (const Hook call = hook)
        call();
    if (until_failure && *until_failure == 0) {
        if (fails_once)
            until_failure.reset();
        return nullptr;
    }
    if (until_failure)
        --*until_failure;
    inside_service = true;
    void *const block = std::malloc(sizeof(Header) + size);
    inside_service = false;
    auto *const header = static_cast<Header *>(block);
    header->size = size;
    std::memset(header + 1, 0xA5, size);
    ++allocated;
    held += size;
    return header + 1;
}

void release(void *memory) {
    Header *const header = static_cast<Header *>(memory) - 1;
    ++released;
    held -= header->size;
    std::free(header);
}

} // namespace

void register_memory_service() {
    const L2vpnDbMemIntf service = l2vpn_store_memory_service(allocate, release);
    L2VPN_DB_MemIntfReg(&service);
}
void unregister_memory_service() {
    const L2vpnDbMemIntf none{};
    L2VPN_DB_MemIntfReg(&none);
}

void fail_allocations_after(std::uint32_t successes) {
    until_failure = successes;
    fails_once = false;
}
void fail_one_allocation_after(std::uint32_t successes) {
    until_failure = successes;
    fails_once = true;
}
void stop_failing_allocations() {
    until_failure.reset();
}

std::uint32_t allocations() {
    return allocated;
}
std::uint32_t releases() {
    return released;
}
std::size_t bytes_held() {
    return held;
}
std::uint32_t direct_allocations() {
    return direct;
}

bool fail_direct_allocations(bool fail) {
#ifdef L2VPN_TEST_SANITIZER_HAS_MALLOC
    static_cast<void>(fail);
    return false;
#else
    direct_fails = fail;
    return true;
#endif
}

void set_allocation_hook(Hook call) {
    hook = call;
}

} // namespace l2vpn::test

#ifndef L2VPN_TEST_SANITIZER_HAS_MALLOC
// Replace the C library's functions in the whole process.
extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);

void *malloc(std::size_t size) noexcept {
    l2vpn::test::direct += l2vpn::test::inside_service ? 0 : 1;
    return l2vpn::test::direct_fails ? nullptr : __libc_malloc(size);
}
void *calloc(std::size_t count, std::size_t size) noexcept {
    ++l2vpn::test::direct;
    return l2vpn::test::direct_fails ? nullptr : __libc_calloc(count, size);
}
void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    ++l2vpn::test::direct;
    return l2vpn::test::direct_fails ? nullptr : __libc_memalign(alignment, size);
}
}
#endif
