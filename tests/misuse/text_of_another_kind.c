/* SPDX-License-Identifier: MIT */
/* An sprintf_s argument that does not match its format. */
/* message: expects argument of type 'unsigned int' */
#include "l2vpn_db/platform.h"

int print(char *buffer, size_t size, const char *text) {
#ifdef MISTAKE
    return sprintf_s(buffer, size, "%u", text);
#else
    return sprintf_s(buffer, size, "%s", text);
#endif
}
