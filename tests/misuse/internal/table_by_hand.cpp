// SPDX-License-Identifier: MIT
// A store table constructed without Table::create.
// message: is private|use of deleted|no matching function
#include "platform/store/table.h"

l2vpn::platform::Table *make(const l2vpn::platform::Allocator &memory,
                             const l2vpn::platform::TableLayout &layout) {
#ifdef MISTAKE
    (void)memory;
    return new l2vpn::platform::Table(layout);
#else
    return l2vpn::platform::Table::create(memory, layout, 0);
#endif
}
