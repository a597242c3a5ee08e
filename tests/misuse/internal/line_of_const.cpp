// SPDX-License-Identifier: MIT
// A line needs a buffer that it may write.
// message: invalid conversion|no matching function
#include "format/formatter.h"

#ifdef MISTAKE
l2vpn::Line begin(const char *buffer) {
#else
l2vpn::Line begin(char *buffer) {
#endif
    return l2vpn::Line(buffer, 8);
}
