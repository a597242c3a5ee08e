// SPDX-License-Identifier: MIT
#include "platform/memory/reentry.h"

namespace l2vpn::platform {

namespace {
constinit thread_local bool inside = false;
}

bool inside_store() {
    return inside;
}

InsideStore::InsideStore() {
    inside = true;
}
InsideStore::~InsideStore() {
    inside = false;
}

} // namespace l2vpn::platform
