// SPDX-License-Identifier: MIT
// Operations between two marks, for instructions.py, which has the program run where instructions
// are counted. Elsewhere it runs, too, and tells nothing.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace l2vpn::bench {

/// What is counted lies between a call of one and the next call of the other.
extern "C" {
void begin_counting();
void end_counting();
}

constexpr std::uint32_t first_times = 3; ///< not counted: memory is taken

/// Says where the libraries and the marks are, in the first line.
void say_where();

/// Says what has been counted, and how many times it ran.
void say_counted(const std::string &name, std::uint32_t times);

/// Counts what `operation(i)` executes for i up to `end`.
template <class Operation>
void count(const std::string &name, std::uint32_t end, Operation operation) {
    for (std::uint32_t i = 0; i < first_times; ++i)
        operation(i);
    begin_counting();
    for (std::uint32_t i = first_times; i < end; ++i)
        operation(i);
    end_counting();
    say_counted(name, end - first_times);
}

/// How often each operation shall run: the first argument.
inline std::uint32_t wanted_times(int count, char **arguments) {
    constexpr std::uint32_t usual = 1000;
    return first_times + (count > 1 ? static_cast<std::uint32_t>(std::atoi(arguments[1])) : usual);
}

} // namespace l2vpn::bench
