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

/// Byte by byte, because separators are short.
inline char *put_text(char *at, const char *end, const char *text) {
    for (; *text != '\0'; ++text) {
        if (at == end)
            return nullptr;
        *at++ = *text;
    }
    return at;
}

/// Copies the format up to its next conversion or its terminator, and advances it. Characters of
/// names are greater than '%': four of them are copied at once.
inline char *put_literal(char *at, const char *end, const char *&format) {
    while (*format != '%' && *format != '\0') {
        if (at == end)
            return nullptr;
        *at++ = *format++;
        while (format[0] > '%' && format[1] > '%' && format[2] > '%' && format[3] > '%' &&
               end - at >= 4) {
            std::memcpy(at, format, 4);
            at += 4;
            format += 4;
        }
    }
    return at;
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
inline void put_pair(char *at, unsigned value) {
    std::memcpy(at, digit_pairs<Base>[value].data(), 2);
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

/// Prints a number of `count` digits, which must fit.
template <unsigned Base>
inline char *put_digits(char *at, unsigned count, unsigned value) {
    char *const end = at + count;
    char *first = end;
    for (; value >= Base * Base; value /= Base * Base)
        put_pair<Base>(first -= 2, value % (Base * Base));
    if (value >= Base)
        put_pair<Base>(first - 2, value);
    else
        first[-1] = digit_pairs<Base>[value][1];
    return end;
}

template <unsigned Base>
inline char *put_number(char *at, const char *end, unsigned value) {
    const unsigned count = digit_count<Base>(value);
    return count <= static_cast<std::size_t>(end - at) ? put_digits<Base>(at, count, value)
                                                       : nullptr;
}

// ---- Words of opaque fields: most calls of the library ------------------------------------------

/// Whether the format is " %x".
inline bool is_word(const char *format) {
    return format[0] == ' ' && format[1] == '%' && format[2] == 'x' && format[3] == '\0';
}

constexpr std::size_t longest_word = sizeof " ffffffff";

/// Prints " %x" into a buffer of at least longest_word bytes, one digit or eight without a loop.
/// Returns the position of the terminator.
inline char *put_word(char *at, unsigned value) {
    *at++ = ' ';
    if (value < 16) {
        *at++ = digit_pairs<16>[value][1];
    } else if (value >> 28 != 0) {
        put_pair<16>(at, value >> 24);
        put_pair<16>(at + 2, value >> 16 & 0xFF);
        put_pair<16>(at + 4, value >> 8 & 0xFF);
        put_pair<16>(at + 6, value & 0xFF);
        at += 8;
    } else {
        at = put_digits<16>(at, digit_count<16>(value), value);
    }
    *at = '\0';
    return at;
}

// ---- Other formats ------------------------------------------------------------------------------

/// The arguments of a call, in memory: kept in registers across print_fast, they would make
/// sprintf_s save registers for words, too.
struct Request {
    char *destination;
    std::size_t size;
    const char *format;
    std::va_list arguments;
};

/// Fast path. Returns the position of the terminator; null if the format or an argument needs the
/// slow path, or the text does not fit.
[[gnu::noinline]] const char *print_fast(Request &request) {
    const char *format = request.format;
    // The size is neither 0 nor beyond the range of the result.
    if (request.destination == nullptr || request.size - 1 >= INT_MAX || format == nullptr)
        return nullptr;
    char *at = request.destination;
    const char *const end = at + request.size - 1;
    while (at != nullptr) {
        at = put_literal(at, end, format);
        if (at == nullptr)
            return nullptr;
        if (*format == '\0') {
            *at = '\0';
            return at;
        }
        const char conversion = format[1];
        format += 2;
        if (conversion == 'u') {
            at = put_number<10>(at, end, va_arg(request.arguments, unsigned));
        } else if (conversion == 's') {
            const char *const text = va_arg(request.arguments, const char *);
            at = text != nullptr ? put_text(at, end, text) : nullptr;
        } else if (conversion == 'x') {
            at = put_number<16>(at, end, va_arg(request.arguments, unsigned));
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

// Without a stack protector: the frame holds argument lists, and no text is written into it.
[[gnu::no_stack_protector]] int sprintf_s(char *destination, std::size_t destinationSize,
                                          const char *format, ...) {
    using namespace l2vpn::platform;
    if (destination != nullptr && destinationSize >= longest_word && format != nullptr &&
        is_word(format)) {
        std::va_list arguments;
        va_start(arguments, format);
        const char *const end = put_word(destination, va_arg(arguments, unsigned));
        va_end(arguments);
        return static_cast<int>(end - destination);
    }
    Request request;
    request.destination = destination;
    request.size = destinationSize;
    request.format = format;
    va_start(request.arguments, format);
    const char *const end = print_fast(request);
    va_end(request.arguments);
    if (end != nullptr)
        return static_cast<int>(end - request.destination);
    va_start(request.arguments, format);
    const int length =
        print_slow(request.destination, request.size, request.format, request.arguments);
    va_end(request.arguments);
    return length;
}
