// SPDX-License-Identifier: MIT
#include "calls.h"

#include <utility>

#include <fmt/format.h>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::demo {

void check(std::uint32_t result, const std::string &what) {
    if (result != L2VPN_DB_OK) {
        throw Failure(fmt::format("{}: result {:#x}", what, result));
    }
}

bool is_end(std::uint32_t result) {
    return result == L2VPN_DB_NO_MORE || result == L2VPN_STORE_END;
}

Iterator opened(L2vpnDbIter *handle, std::uint32_t (*release)(L2vpnDbIter *),
                const std::string &what) {
    if (handle == nullptr) {
        throw Failure("no iterator over " + what);
    }
    return {handle, release};
}

void release(Iterator iterator, const std::string &what) {
    const auto release_iter = iterator.get_deleter();
    check(release_iter(iterator.release()), "release of the iterator over " + what);
}

} // namespace l2vpn::demo
