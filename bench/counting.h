// SPDX-License-Identifier: MIT
// Marks the code whose instructions instructions.py counts, by running the program under callgrind
// or an emulator. Elsewhere the marks have no effect.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace l2vpn::bench {

/// Instructions between the two calls are counted.
extern "C" {
void begin_counting();
void end_counting();
}

constexpr std::uint32_t warm_up = 3; ///< operations that are not counted: they allocate

/// Prints the addresses of the libraries and of the marks, as the first line.
void print_addresses();

/// Prints the name of a counted operation and the number of its calls.
void print_counted(const std::string &name, std::uint32_t times);

/// Counts the instructions of `operation(i)` for i from warm_up to `end`.
template <class Operation>
void count(const std::string &name, std::uint32_t end, Operation operation) {
    for (std::uint32_t i = 0; i < warm_up; ++i)
        operation(i);
    begin_counting();
    for (std::uint32_t i = warm_up; i < end; ++i)
        operation(i);
    end_counting();
    print_counted(name, end - warm_up);
}

/// The end of the loop of `count`, for the number of operations in the first argument.
inline std::uint32_t end_of_loop(int count, char **arguments) {
    constexpr std::uint32_t usual = 1000;
    return warm_up + (count > 1
                          ? static_cast<std::uint32_t>(std::strtoul(arguments[1], nullptr, 10))
                          : usual);
}

} // namespace l2vpn::bench
