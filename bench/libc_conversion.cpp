// SPDX-License-Identifier: MIT
#include "bench/libc_conversion.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "l2vpn_db/platform.h"

namespace l2vpn::bench {

namespace {

// Offsets are the same in both records up to the padding before the time stamps.
constexpr std::size_t service_status = offsetof(L2vpnVplsPw, svcStatus);
constexpr std::size_t service_status_size = 4; // with svcErrcode
constexpr std::size_t batch_version = offsetof(L2vpnVplsPw, batchVersion);
constexpr std::size_t time_stamps = offsetof(L2vpnVplsPw, timeStampApp);
constexpr std::size_t time_stamps_size = 16;
constexpr std::size_t stored_time_stamps = stored_length - time_stamps_size;

/// Calls copy(offset, size) for each element of the contexts.
template <class Copy>
inline void for_each_context(Copy copy) {
    constexpr std::size_t global = sizeof L2vpnVplsPw{}.glbSvcCtx[0];
    constexpr std::size_t local = sizeof L2vpnVplsPw{}.svcCtx[0];
    copy(offsetof(L2vpnVplsPw, glbSvcCtx), global);
    copy(offsetof(L2vpnVplsPw, glbSvcCtx) + global, global);
    copy(offsetof(L2vpnVplsPw, svcCtx), local);
    copy(offsetof(L2vpnVplsPw, svcCtx) + local, local);
}

auto *volatile checked_copy = memcpy_s;

const char *bytes_of(const L2vpnVplsPw &record) {
    return reinterpret_cast<const char *>(&record);
}

FewBytes converted(const FewRecords &records) {
    FewBytes result{};
    for (std::uint32_t i = 0; i < few; ++i)
        L2VPN_DB_L2vpnVplsPwSetAllFields(&records[i], result[i].data());
    return result;
}

} // namespace

void libc_to_packed(const char *record, char *stored) {
    std::memcpy(stored, record, service_status);
    std::memcpy(stored + batch_version, record + batch_version, sizeof(std::uint32_t));
    std::memcpy(stored + stored_time_stamps, record + time_stamps, time_stamps_size);
    for_each_context([=](std::size_t offset, std::size_t size) {
        copy_bytes(stored + offset, record + offset, size);
    });
    std::memcpy(stored + service_status, record + service_status, service_status_size);
}

void libc_to_caller(const char *stored, char *record) {
    std::memcpy(record, stored, service_status);
    std::memcpy(record + batch_version, stored + batch_version, sizeof(std::uint32_t));
    std::memcpy(record + time_stamps, stored + stored_time_stamps, time_stamps_size);
    std::memcpy(record + service_status, stored + service_status, service_status_size);
    for_each_context([=](std::size_t offset, std::size_t size) {
        copy_bytes(record + offset, stored + offset, size);
    });
}

Slice libc_to_packed_slice() {
    FewBytes stored{};
    const FewRecords records = few_records();
    for (std::size_t i = 0; i < few; ++i)
        libc_to_packed(bytes_of(records[i]), stored[i].data());
    if (stored != converted(records))
        throw std::runtime_error("a copied stored record differs from a converted one");
    return repeated([records, stored](std::size_t n) mutable {
        libc_to_packed(bytes_of(records[n % few]), stored[n % few].data());
    });
}

Slice libc_to_caller_slice() {
    const FewBytes stored = converted(few_records());
    FewRecords records{};
    for (std::size_t i = 0; i < few; ++i)
        libc_to_caller(stored[i].data(), reinterpret_cast<char *>(&records[i]));
    if (converted(records) != stored)
        throw std::runtime_error("a copied record differs from its original");
    return repeated([stored, records](std::size_t n) mutable {
        libc_to_caller(stored[n % few].data(), reinterpret_cast<char *>(&records[n % few]));
    });
}

Slice memcpy_s_slice() {
    return repeated([records = few_records(), stored = FewBytes{}](std::size_t n) mutable {
        char *const to = stored[n % few].data();
        const char *const from = bytes_of(records[n % few]);
        for_each_context([=](std::size_t offset, std::size_t size) {
            checked_copy(to + offset, size, from + offset, size);
        });
    });
}

} // namespace l2vpn::bench
