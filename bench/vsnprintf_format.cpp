// SPDX-License-Identifier: MIT
// The library's formatter, compiled over a sprintf_s that calls vsnprintf.
// Renames the platform's declaration and the formatter's calls.
#define sprintf_s vsnprintf_sprintf_s

#include <cstdarg>
#include <cstdio>

#include "facts/l2vpn_vpls_pw.h"
#include "library/formatter.h"

#include "bench/vsnprintf_format.h"

// Not inlined: the library's formatter calls the platform's function across libraries, too.
__attribute__((noinline)) int vsnprintf_sprintf_s(char *destination, std::size_t destinationSize,
                                                  const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start initialised it
    const int length = std::vsnprintf(destination, destinationSize, format, arguments);
    va_end(arguments);
    return static_cast<std::size_t>(length) < destinationSize ? length : -1;
}

std::uint32_t l2vpn::bench::vsnprintf_format(const L2vpnVplsPw &record, char *buffer,
                                             std::uint32_t length) {
    return format_table<L2vpnVplsPwTable>(&record, buffer, length, ", ");
}
