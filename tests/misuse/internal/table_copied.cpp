// SPDX-License-Identifier: MIT
// A copied store table.
// message: use of deleted function
#include "platform/store/table.h"

void look(l2vpn::platform::Table &table) {
#ifdef MISTAKE
    l2vpn::platform::Table seen = table;
#else
    l2vpn::platform::Table &seen = table;
#endif
    (void)seen.stored_length();
}
