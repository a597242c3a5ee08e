// SPDX-License-Identifier: MIT
#include "tool/terminal.h"

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

std::size_t terminal_width(std::FILE *file, std::size_t fallback) {
    winsize size{};
    const bool known = ioctl(fileno(file), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : fallback;
}

std::size_t width_of(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char each) { return (each & 0xC0) != 0x80; }));
}

std::vector<std::string> wrap(std::string_view text, std::size_t width) {
    constexpr std::size_t narrowest = 16;
    std::vector<std::string> lines;
    while (text.size() > width && width >= narrowest) {
        std::size_t end = text.find_last_of(" ,:", width);
        end = end == width && text[end] != ' ' ? text.find_last_of(" ,:", width - 1) : end;
        end = end == text.npos ? text.find_first_of(" ,:") : end;
        if (end == text.npos) {
            break;
        }
        lines.emplace_back(text.substr(0, text[end] == ' ' ? end : end + 1));
        text.remove_prefix(end + 1);
    }
    lines.emplace_back(text);
    return lines;
}

void write_error(std::string_view text) {
    (void)std::fwrite(text.data(), 1, text.size(), stderr);
}

Progress::Progress(std::string_view what) : what_(what), terminal_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (shown_) {
        write_error("\r\x1b[K");
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
                        what_); // last, as a name may be long and a narrow terminal cuts it
    write_error("\r\x1b[K" + line.substr(0, terminal_width(stderr, SIZE_MAX) - 1));
}

} // namespace l2vpn::tool
