// SPDX-License-Identifier: MIT
// Formatted text of bounded length. What the library prints, literal text with %u, %x and %s, goes
// a short way of its own, several times faster than the C library's; all else goes there.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "l2vpn_db/platform.h"

namespace l2vpn::platform {

namespace {

/// The text so far, and whether it still fits.
class Output {
public:
    Output(char *buffer, std::size_t size) : begin_(buffer), at_(buffer), end_(buffer + size - 1) {}

    void put(const char *text, std::size_t length) {
        if (length > static_cast<std::size_t>(end_ - at_)) {
            fits_ = false;
            return;
        }
        std::memcpy(at_, text, length);
        at_ += length;
    }

    template <unsigned Base>
    void put_number(unsigned value) {
        char digits[10];
        char *const end = digits + sizeof digits;
        char *first = end;
        do
            *--first = "0123456789abcdef"[value % Base];
        while ((value /= Base) != 0);
        put(first, static_cast<std::size_t>(end - first));
    }

    [[nodiscard]] bool fits() const { return fits_; }

    /// Ends the text; its length.
    int finish() {
        *at_ = '\0';
        return static_cast<int>(at_ - begin_);
    }

private:
    char *begin_;
    char *at_;
    char *end_; ///< the terminator's last place
    bool fits_ = true;
};

/// Prints literal text, %u, %x and %s; false at anything else.
bool print_simple(Output &output, const char *format, std::va_list arguments) {
    while (output.fits()) {
        const char *const percent = std::strchr(format, '%');
        if (percent == nullptr) {
            output.put(format, std::strlen(format));
            return true;
        }
        output.put(format, static_cast<std::size_t>(percent - format));
        switch (percent[1]) {
        case 'u':
            output.put_number<10>(va_arg(arguments, unsigned));
            break;
        case 'x':
            output.put_number<16>(va_arg(arguments, unsigned));
            break;
        case 's': {
            const char *const text = va_arg(arguments, const char *);
            if (text == nullptr)
                return false;
            output.put(text, std::strlen(text));
            break;
        }
        default:
            return false;
        }
        format = percent + 2;
    }
    return true;
}

} // namespace

} // namespace l2vpn::platform

// A text that does not fit is not cut off: the buffer is left with an empty string.
int sprintf_s(char *destination, std::size_t destinationSize, const char *format, ...) {
    if (destination == nullptr || destinationSize == 0)
        return -1;
    if (format == nullptr) {
        destination[0] = '\0';
        return -1;
    }
    std::va_list arguments;
    va_start(arguments, format);
    l2vpn::platform::Output output(destination, destinationSize);
    const bool simple = l2vpn::platform::print_simple(output, format, arguments);
    va_end(arguments);
    int length = -1;
    if (!simple) {
        va_start(arguments, format);
        length = std::vsnprintf(destination, destinationSize, format, arguments);
        va_end(arguments);
        if (length >= 0 && static_cast<std::size_t>(length) < destinationSize)
            return length;
    } else if (output.fits()) {
        return output.finish();
    }
    destination[0] = '\0';
    return -1;
}
