// SPDX-License-Identifier: MIT
#include "tools/terminal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace l2vpn::tool {
namespace {

bool in_colour() {
    static const bool answer = [] {
        const char *const no_color = std::getenv("NO_COLOR");
        const char *const terminal = std::getenv("TERM");
        return isatty(STDOUT_FILENO) == 1 && (no_color == nullptr || *no_color == '\0') &&
               terminal != nullptr && std::string_view(terminal) != "dumb";
    }();
    return answer;
}

std::string styled(std::string_view text, std::string_view code) {
    return in_colour() && !text.empty() ? fmt::format("\x1b[{}m{}\x1b[0m", code, text)
                                        : std::string(text);
}

/// "1:05" and "2:03:04".
std::string duration(std::uint64_t seconds) {
    const std::string rest = fmt::format("{:02}:{:02}", seconds / 60 % 60, seconds % 60);
    return seconds < 3600 ? rest.substr(rest.front() == '0' ? 1 : 0)
                          : fmt::format("{}:{}", seconds / 3600, rest);
}

} // namespace

std::string bold(std::string_view text) {
    return styled(text, "1");
}

std::string dim(std::string_view text) {
    return styled(text, "2");
}

std::string tinted(std::string_view text, std::size_t which) {
    constexpr std::array<std::string_view, 6> codes{"36", "33", "35", "32", "34", "31"};
    return styled(text, codes[which % codes.size()]);
}

std::size_t terminal_width() {
    constexpr std::size_t usual = 132; // of what is no terminal
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : usual;
}

std::size_t width_of(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char each) { return (each & 0xC0) != 0x80; }));
}

Columns::Columns(std::vector<Title> titles) : titles_(std::move(titles)), widths_(titles_.size()) {
    std::ranges::transform(titles_, widths_.begin(),
                           [](const Title &title) { return width_of(title.text); });
}

void Columns::measure(const Row &row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        widths_[i] = std::max(widths_[i], width_of(row[i]));
    }
}

std::string Columns::line(const Row &row) const {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const std::string gap(widths_[i] - std::min(widths_[i], width_of(row[i])), ' ');
        line += titles_[i].numbers ? gap + row[i] : row[i] + gap;
        line += "  ";
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

void Columns::print_titles(std::FILE *to) const {
    Row row(titles_.size());
    std::ranges::transform(titles_, row.begin(), &Title::text);
    fmt::print(to, "{}\n", bold(line(row)));
}

void Columns::print(std::FILE *to, const Row &row) const {
    fmt::print(to, "{}\n", line(row));
}

void print_columns(const std::vector<Columns::Title> &titles,
                   const std::vector<Columns::Row> &rows) {
    Columns columns(titles);
    std::ranges::for_each(rows, [&](const Columns::Row &row) { columns.measure(row); });
    columns.print_titles(stdout);
    std::ranges::for_each(rows, [&](const Columns::Row &row) { columns.print(stdout, row); });
}

Progress::Progress(std::string_view what) : what_(what), terminal_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (shown_) {
        fmt::print(stderr, "\r\x1b[K");
    }
}

void Progress::draw(std::uint64_t records, std::uint64_t done, std::uint64_t total) {
    constexpr std::chrono::milliseconds pause(100);
    constexpr std::size_t bar_width = 24;
    const Clock::time_point now = Clock::now();
    if (now - drawn_ < pause) {
        return;
    }
    drawn_ = now;
    shown_ = true;
    const double seconds = std::chrono::duration<double>(now - begin_).count();
    std::string line = fmt::format("\r\x1b[K{}: {} records, {:.0f}/s", what_, records,
                                   static_cast<double>(records) / seconds);
    if (total > 0) {
        const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
        const auto filled = static_cast<std::size_t>(part * bar_width);
        const double left = part > 0 ? seconds / part - seconds : 0;
        line += fmt::format(" [{:<{}}] {:.0f} %, {} left", std::string(filled, '#'), bar_width,
                            part * 100, duration(static_cast<std::uint64_t>(left)));
    }
    fmt::print(stderr, "{}", line);
}

} // namespace l2vpn::tool
