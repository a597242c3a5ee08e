// SPDX-License-Identifier: MIT
// Terminals: colours, widths and progress.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "records/interrupt.h"

namespace l2vpn::tool {

/// The text, styled if standard output is a terminal with colours.
std::string bold(std::string_view text);
std::string dim(std::string_view text);
/// In one of six colours.
std::string tinted(std::string_view text, std::size_t which);

/// The number of columns, or the fallback if the file is not a terminal.
std::size_t terminal_width(std::FILE *file, std::size_t fallback);

/// The number of characters of a UTF-8 text.
std::size_t width_of(std::string_view text);

/// Lines of at most a width, broken after a blank, a comma or a colon. A longer word stays whole.
std::vector<std::string> wrap(std::string_view text, std::size_t width);

/// Writes to standard error. Failures are ignored: there is no other place to report them.
void write_error(std::string_view text);

/// A progress line on standard error if that is a terminal and the work takes more than a second.
class Progress {
public:
    explicit Progress(std::string_view what);
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    /// Erases the line.
    ~Progress();

    /// @param records  so far
    /// @param done, total  in any unit; total 0 if it is unknown
    /// @throws records::Interrupted
    void show(std::uint64_t records, std::uint64_t done, std::uint64_t total) {
        records::check_interrupt();
        if ((++calls_ & 1023U) == 0 && terminal_) {
            draw(records, done, total);
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    void draw(std::uint64_t records, std::uint64_t done, std::uint64_t total);

    std::string what_;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point drawn_ = begin_ + std::chrono::milliseconds(900);
    std::uint64_t calls_ = 0;
    bool terminal_;
    bool shown_ = false;
};

} // namespace l2vpn::tool
