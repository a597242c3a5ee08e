// SPDX-License-Identifier: MIT
// Formatted text of bounded length. What the library prints, short literal text with %u, %x and %s,
// goes a short way of its own, several times faster than the C library's; all else goes there.
#include <array>
#include <bit>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "l2vpn_db/platform.h"

namespace l2vpn::platform {

namespace {

// Pieces of text are put at `at`; `end` is the last place of the buffer, which is the terminator's.
// The result is the place behind the piece, or null if it does not fit.

/// Byte by byte: names and separators are too short for more to pay off.
inline char *put_text(char *at, const char *end, const char *text) {
    for (; (*at = *text) != '\0'; ++at, ++text)
        if (at == end)
            return nullptr;
    return at;
}

template <unsigned Base>
inline unsigned digit_count(unsigned value) {
    if constexpr (Base == 16)
        return 8 - static_cast<unsigned>(std::countl_zero(value | 1)) / 4;
    unsigned count = 1;
    for (std::uint64_t power = Base; value >= power; power *= Base)
        ++count;
    return count;
}

/// Every number of two digits as text.
template <unsigned Base>
constexpr auto digit_pairs = [] {
    std::array<std::array<char, 2>, std::size_t{Base} * Base> pairs{};
    for (unsigned i = 0; i < pairs.size(); ++i)
        pairs[i] = {"0123456789abcdef"[i / Base], "0123456789abcdef"[i % Base]};
    return pairs;
}();

template <unsigned Base>
inline char *put_number(char *at, const char *end, unsigned value) {
    const unsigned count = digit_count<Base>(value);
    if (count > static_cast<std::size_t>(end - at))
        return nullptr;
    char *first = at + count;
    for (; value >= Base; value /= Base * Base)
        std::memcpy(first -= 2, digit_pairs<Base>[value % (Base * Base)].data(), 2);
    if (first != at)
        *at = digit_pairs<Base>[value][1];
    return at + count;
}

/// Prints text with %u, %x and %s; the terminator's place, or null if that is not all or too long.
inline const char *print_simple(char *at, const char *end, const char *format,
                                std::va_list arguments) {
    while (at != nullptr) {
        for (; *format != '%'; ++at, ++format) {
            if ((*at = *format) == '\0')
                return at;
            if (at == end)
                return nullptr;
        }
        const char conversion = format[1];
        format += 2;
        if (conversion == 'x') {
            at = put_number<16>(at, end, va_arg(arguments, unsigned));
        } else if (conversion == 'u') {
            at = put_number<10>(at, end, va_arg(arguments, unsigned));
        } else if (conversion == 's') {
            const char *const text = va_arg(arguments, const char *);
            at = text != nullptr ? put_text(at, end, text) : nullptr;
        } else {
            return nullptr;
        }
    }
    return nullptr;
}

/// Prints what the short way does not, or refuses it. Out of line, for the short way's sake.
[[gnu::noinline, gnu::cold, gnu::format(printf, 3, 0)]] int
print_any(char *destination, std::size_t size, const char *format, std::va_list arguments) {
    if (destination == nullptr || size == 0)
        return -1;
    if (format != nullptr) {
        const int length = std::vsnprintf(destination, size, format, arguments);
        if (length >= 0 && static_cast<std::size_t>(length) < size)
            return length;
    }
    destination[0] = '\0'; // a text that does not fit is not cut off
    return -1;
}

} // namespace

} // namespace l2vpn::platform

int sprintf_s(char *destination, std::size_t destinationSize, const char *format, ...) {
    using namespace l2vpn::platform;
    std::va_list arguments;
    // The size is neither 0 nor more than the result could tell.
    if (destination != nullptr && destinationSize - 1 < INT_MAX && format != nullptr) {
        va_start(arguments, format);
        const char *const end =
            print_simple(destination, destination + destinationSize - 1, format, arguments);
        va_end(arguments);
        if (end != nullptr)
            return static_cast<int>(end - destination);
    }
    va_start(arguments, format);
    const int length = print_any(destination, destinationSize, format, arguments);
    va_end(arguments);
    return length;
}
