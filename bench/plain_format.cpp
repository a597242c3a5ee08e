// SPDX-License-Identifier: MIT
// The library's formatter once more, with a sprintf_s that leaves everything to the C library.
#define sprintf_s plain_sprintf_s // in the platform's declaration and in the formatter

#include <cstdarg>
#include <cstdio>

#include "facts/l2vpn_vpls_pw.h"
#include "library/formatter.h"

#include "bench/plain_format.h"

// As the library's formatter sees it: from outside.
__attribute__((noinline)) int plain_sprintf_s(char *destination, std::size_t destinationSize,
                                              const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it has just been started
    const int length = std::vsnprintf(destination, destinationSize, format, arguments);
    va_end(arguments);
    return static_cast<std::size_t>(length) < destinationSize ? length : -1;
}

std::uint32_t l2vpn::bench::plain_format(const L2vpnVplsPw &record, char *buffer,
                                         std::uint32_t length) {
    return format_table<L2vpnVplsPwTable>(&record, buffer, length, ", ");
}
