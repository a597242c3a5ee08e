// SPDX-License-Identifier: MIT
// A table of the embedded store has one place.
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
