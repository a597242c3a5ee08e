// SPDX-License-Identifier: MIT
// An output buffer over const memory.
// message: invalid conversion|no matching function
#include "library/formatter.h"

#ifdef MISTAKE
l2vpn::OutputBuffer begin(const char *buffer) {
#else
l2vpn::OutputBuffer begin(char *buffer) {
#endif
    return l2vpn::OutputBuffer(buffer, 8);
}
