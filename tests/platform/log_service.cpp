// SPDX-License-Identifier: MIT
#include "tests/platform/log_service.h"

#include <mutex>
#include <utility>

#include "l2vpn_db/memory_store.h"

namespace l2vpn::test {
namespace {

std::mutex mutex;
std::vector<std::string> lines;
void (*hook)() = nullptr;

void keep_line(const char *text) {
    {
        const std::lock_guard lock(mutex);
        lines.emplace_back(text);
    }
    if (hook != nullptr)
        hook();
}

void register_word(L2vpnStoreLogFn log) {
    const L2vpnDbLogIntf service = l2vpn_store_log_service(log);
    L2VPN_DB_LogIntfReg(&service);
}

} // namespace

void register_log_service() {
    register_word(keep_line);
}
void unregister_log_service() {
    register_word(nullptr);
}

std::vector<std::string> take_log() {
    const std::lock_guard lock(mutex);
    return std::exchange(lines, {});
}

void set_log_hook(void (*call)()) {
    hook = call;
}

} // namespace l2vpn::test
