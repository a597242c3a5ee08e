// SPDX-License-Identifier: MIT
// A record as one line of text: "name:value" items joined by the caller's separator.
#pragma once

#include <array>
#include <utility>

#include "l2vpn_db/platform.h"
#include "library/bytes.h"
#include "library/table_facts.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// Text that does not fit is dropped as a whole; the next print starts at the same position.
class OutputBuffer {
public:
    OutputBuffer(char *buffer, std::uint32_t size) : buffer_(buffer), size_(size) {}

    // The formats are built from field names at compile time; the compiler's literal check cannot
    // follow that.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    template <class... Values>
    void print(const char *format, Values... values) {
        const int written = sprintf_s(buffer_ + used_, size_ - used_, format, values...);
#pragma GCC diagnostic pop
        if (written > 0)
            used_ += static_cast<std::uint32_t>(written);
    }

    [[nodiscard]] std::uint32_t used() const {
        return used_;
    }

private:
    char *buffer_;
    std::uint32_t size_;
    std::uint32_t used_ = 0;
};

/// Concatenates the field's name and a tail into a terminated string.
template <class T, std::size_t I, std::size_t N>
constexpr auto item_format(const char (&tail)[N]) {
    constexpr std::size_t length = std::string_view(T::fields[I].name).size();
    std::array<char, length + N> format{};
    for (std::size_t i = 0; i < length; ++i)
        format[i] = T::fields[I].name[i];
    for (std::size_t i = 0; i < N; ++i)
        format[length + i] = tail[i];
    return format;
}

/// An integer field's value; for a MAC field the low half of its own address, which is what this
/// format prints.
template <class T, std::size_t I>
inline std::uint32_t item_value(const char *at) {
    constexpr Field field = T::fields[I];
    if constexpr (field.kind == Kind::mac)
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(at));
    else if constexpr (field.width == 1)
        return load<std::uint8_t>(at);
    else if constexpr (field.width == 2)
        return load<std::uint16_t>(at);
    else
        return load<std::uint32_t>(at);
}

template <class T>
constexpr std::size_t last_printed() {
    std::size_t last = no_field;
    for (std::size_t i = 0; i < field_count<T>; ++i)
        if (T::fields[i].printed)
            last = i;
    return last;
}

/// Only tables with a trailing separator print one after the last item.
template <class T>
constexpr bool separated_after(std::size_t i) {
    return i != last_printed<T>() || T::trailing_separator;
}

template <class T, std::size_t I>
inline void print_item(OutputBuffer &output, const char *record, const char *separator) {
    constexpr Field field = T::fields[I];
    constexpr bool separated = separated_after<T>(I);
    const char *at = record + field.offset;
    if constexpr (!field.printed) {
        return;
    } else if constexpr (field.kind == Kind::context || field.kind == Kind::bytes) {
        static constexpr auto head = item_format<T, I>(":0x");
        output.print(head.data());
#pragma GCC unroll 2
        for (std::size_t i = 0; i < field.width; i += sizeof(std::uint32_t))
            output.print(" %x", load<std::uint32_t>(at + i));
        if constexpr (separated)
            output.print("%s", separator);
    } else if constexpr (field.kind == Kind::pair) {
        const std::uint32_t first = load<std::uint8_t>(at);
        const std::uint32_t second = load<std::uint8_t>(at + 1);
        if constexpr (separated) {
            static constexpr auto format = item_format<T, I>(":%u %u%s");
            output.print(format.data(), first, second, separator);
        } else {
            static constexpr auto format = item_format<T, I>(":%u %u");
            output.print(format.data(), first, second);
        }
    } else if constexpr (separated) {
        static constexpr auto format = item_format<T, I>(":%u%s");
        output.print(format.data(), item_value<T, I>(at), separator);
    } else {
        static constexpr auto format = item_format<T, I>(":%u");
        output.print(format.data(), item_value<T, I>(at));
    }
}

/// Checks nothing.
/// @return the number of characters written, without the terminator
template <class T>
[[gnu::noinline]] std::uint32_t format_table(const void *record, char *buffer,
                                             std::uint32_t buffer_length, const char *separator) {
    OutputBuffer output(buffer, buffer_length);
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (print_item<T, I>(output, static_cast<const char *>(record), separator), ...);
    }
    (std::make_index_sequence<field_count<T>>{});
    return output.used();
}

/// Formats a whole record of one table.
using TableFormat = std::uint32_t (*)(const void *record, char *buffer, std::uint32_t buffer_length,
                                      const char *separator);

std::uint32_t format(std::uint32_t format_id, const void *record, char *buffer,
                     std::uint32_t buffer_length, const char *separator, TableFormat whole);

} // namespace l2vpn
