// SPDX-License-Identifier: MIT
// Bounded formatted output. Formats of literal text, %u, %x and %s, as the library uses them, take
// a fast path, several times faster than the C library. All others call vsnprintf.
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

// These functions write at `at` and return the position after the text, or null if it does not fit.
// `end` is the last byte of the buffer, for the terminator.

/// Byte by byte, because names and separators are short.
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

/// All two-digit numbers as text.
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

/// Fast path. Returns the position of the terminator; null if the format needs the slow path or the
/// text does not fit.
inline const char *print_fast(char *at, const char *end, const char *format,
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

/// Slow path: any other format, and errors.
[[gnu::noinline, gnu::cold, gnu::format(printf, 3, 0)]] int
print_slow(char *destination, std::size_t size, const char *format, std::va_list arguments) {
    if (destination == nullptr || size == 0)
        return -1;
    if (format != nullptr) {
        const int length = std::vsnprintf(destination, size, format, arguments);
        if (length >= 0 && static_cast<std::size_t>(length) < size)
            return length;
    }
    destination[0] = '\0'; // never truncated text
    return -1;
}

} // namespace

} // namespace l2vpn::platform

int sprintf_s(char *destination, std::size_t destinationSize, const char *format, ...) {
    using namespace l2vpn::platform;
    std::va_list arguments;
    // The size is neither 0 nor beyond the range of the result.
    if (destination != nullptr && destinationSize - 1 < INT_MAX && format != nullptr) {
        va_start(arguments, format);
        const char *const end =
            print_fast(destination, destination + destinationSize - 1, format, arguments);
        va_end(arguments);
        if (end != nullptr)
            return static_cast<int>(end - destination);
    }
    va_start(arguments, format);
    const int length = print_slow(destination, destinationSize, format, arguments);
    va_end(arguments);
    return length;
}
