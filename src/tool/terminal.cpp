// SPDX-License-Identifier: MIT
#include "tool/terminal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <numeric>

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace l2vpn::tool {
namespace {

bool in_colour() {
    static const bool answer = [] {
        // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
        const char *const no_color = std::getenv("NO_COLOR");
        const char *const terminal = std::getenv("TERM");
        // NOLINTEND(concurrency-mt-unsafe)
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

std::size_t terminal_width(std::FILE *file, std::size_t otherwise) {
    winsize size{};
    const bool known = ioctl(fileno(file), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : otherwise;
}

std::size_t width_of(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char each) { return (each & 0xC0) != 0x80; }));
}

std::string folded(std::string_view text, std::size_t column, std::size_t width) {
    constexpr std::size_t least = 16;
    const std::size_t room = width - std::min(width, column);
    std::string result;
    while (room >= least && text.size() > room) {
        const std::size_t last = text.rfind(' ', room);
        const std::size_t blank = last == text.npos ? text.find(' ') : last;
        if (blank == text.npos) {
            break;
        }
        result += fmt::format("{}\n{:{}}", text.substr(0, blank), "", column);
        text.remove_prefix(blank + 1);
    }
    return result.append(text);
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

Columns::Group Columns::all() const {
    Group all(titles_.size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

std::size_t Columns::width(const Group &group) const {
    return std::accumulate(group.begin(), group.end(), std::size_t{0},
                           [&](std::size_t sum, std::size_t i) { return sum + widths_[i] + gap; });
}

std::string Columns::line(const Row &row, const Group &group, std::size_t room) const {
    std::string line;
    for (const std::size_t i : group) {
        const std::string fill(widths_[i] - std::min(widths_[i], width_of(row[i])), ' ');
        if (titles_[i].numbers) {
            line += fill + row[i];
        } else {
            line += (i == group.back() ? folded(row[i], width_of(line), room) : row[i]) + fill;
        }
        line += std::string(gap, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

void Columns::print_titles(std::FILE *to, const Group &group) const {
    Row row(titles_.size());
    std::ranges::transform(titles_, row.begin(), &Title::text);
    fmt::print(to, "{}\n", bold(line(row, group, SIZE_MAX)));
}

void Columns::print(std::FILE *to, const Row &row, const Group &group) const {
    fmt::print(to, "{}\n", line(row, group, terminal_width(to, SIZE_MAX)));
}

void print_columns(const std::vector<Columns::Title> &titles,
                   const std::vector<Columns::Row> &rows) {
    Columns columns(titles);
    std::ranges::for_each(rows, [&](const Columns::Row &row) { columns.measure(row); });
    columns.print_titles(stdout, columns.all());
    std::ranges::for_each(
        rows, [&](const Columns::Row &row) { columns.print(stdout, row, columns.all()); });
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
    std::string line;
    if (total > 0) {
        const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
        const auto filled = static_cast<std::size_t>(part * bar_width);
        const double left = part > 0 ? seconds / part - seconds : 0;
        line = fmt::format("[{:<{}}] {:.0f} %, {} left, ", std::string(filled, '#'), bar_width,
                           part * 100, duration(static_cast<std::uint64_t>(left)));
    }
    line += fmt::format("{} records, {:.0f}/s: {}", records, static_cast<double>(records) / seconds,
                        what_); // a name may be long: it is what a narrow terminal cuts
    fmt::print(stderr, "\r\x1b[K{}", line.substr(0, terminal_width(stderr, SIZE_MAX) - 1));
}

} // namespace l2vpn::tool
