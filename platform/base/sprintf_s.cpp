// SPDX-License-Identifier: MIT
#include <cstdarg>
#include <cstdio>

#include "l2vpn_db/platform.h"

// A text that does not fit is not cut off: the buffer is left with an empty string.
int sprintf_s(char *destination, std::size_t destinationSize, const char *format, ...) {
    if (destination == nullptr || destinationSize == 0) {
        return -1;
    }
    int length = -1;
    if (format != nullptr) {
        std::va_list arguments;
        va_start(arguments, format);
        length = std::vsnprintf(destination, destinationSize, format, arguments);
        va_end(arguments);
    }
    if (length < 0 || static_cast<std::size_t>(length) >= destinationSize) {
        destination[0] = '\0';
        return -1;
    }
    return length;
}
