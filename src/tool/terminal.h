// SPDX-License-Identifier: MIT
// What people see: colours, aligned columns, progress.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "records/interrupt.h"

namespace l2vpn::tool {

/// The text as it is, or coloured if standard output is a terminal that is to have colours.
std::string bold(std::string_view text);
std::string dim(std::string_view text);
/// One of a few colours that differ.
std::string tinted(std::string_view text, std::size_t which);

/// Columns of a terminal that is open there, or otherwise what is given.
std::size_t terminal_width(std::FILE *file, std::size_t otherwise);

/// The number of characters of a text in UTF-8.
std::size_t width_of(std::string_view text);

/// A text that begins at a column and goes on there in as many lines of a width as it takes, broken
/// at blanks.
std::string folded(std::string_view text, std::size_t column, std::size_t width);

/// Rows with aligned columns. All rows are measured before the first is printed, but need not be
/// kept in between. In a terminal that is too narrow, what the last column says is folded.
class Columns {
public:
    struct Title {
        std::string text;
        bool numbers = false; ///< aligned to the right
    };

    explicit Columns(std::vector<Title> titles);

    using Row = std::vector<std::string>;
    void measure(const Row &row);
    /// Some of the columns, by their places.
    using Group = std::vector<std::size_t>;
    Group all() const;
    /// With the gaps behind them.
    std::size_t width(const Group &group) const;
    void print_titles(std::FILE *to, const Group &group) const;
    void print(std::FILE *to, const Row &row, const Group &group) const;

private:
    static constexpr std::size_t gap = 2;

    std::string line(const Row &row, const Group &group, std::size_t room) const;

    std::vector<Title> titles_;
    std::vector<std::size_t> widths_;
};

/// Prints rows that have been kept.
void print_columns(const std::vector<Columns::Title> &titles,
                   const std::vector<Columns::Row> &rows);

/// A line on standard error that tells how far something has come, from its second second on, if
/// that is a terminal.
class Progress {
public:
    explicit Progress(std::string_view what);
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    /// Removes the line.
    ~Progress();

    /// @param records  so far
    /// @param done, total  in whatever unit; total 0 if it is not known
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
