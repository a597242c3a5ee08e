// SPDX-License-Identifier: MIT
// A record as text, with the platform's sprintf_s and with one that only calls vsnprintf.
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/plain_format.h"
#include "bench/records.h"
#include "bench/sections.h"
#include "bench/timed.h"

namespace l2vpn::bench {

namespace {

constexpr std::uint32_t count = 1000;

using Format = std::uint32_t (*)(const L2vpnVplsPw &, char *, std::uint32_t);

std::uint32_t library_format(const L2vpnVplsPw &record, char *buffer, std::uint32_t length) {
    return L2VPN_AST_L2vpnVplsPwFormat(L2VPN_AST_WHOLE_RECORD, &record, buffer, length, ", ");
}

std::string text(Format format, const L2vpnVplsPw &record) {
    char buffer[2048];
    return {buffer, format(record, buffer, sizeof buffer)};
}

Rounds set_up() {
    const auto records = std::make_shared<std::vector<L2vpnVplsPw>>();
    for (std::uint32_t i = 0; i < count; ++i) {
        records->push_back(pseudowire(i));
        if (text(library_format, records->back()) != text(plain_format, records->back()))
            throw std::runtime_error("two formatters disagree");
    }
    const auto round = [records](Format format) {
        return repeated(count, [records, format](std::size_t n) {
            char buffer[2048];
            if (format((*records)[n % count], buffer, sizeof buffer) == 0)
                throw std::runtime_error("nothing formatted");
        });
    };
    return {{"library", round(library_format)}, {"vsnprintf", round(plain_format)}};
}

} // namespace

void measure_format(const Scale &scale, Report &report) {
    Worker worker(set_up);
    const std::vector<double> times =
        medians({{&worker, "vsnprintf"}, {&worker, "library"}}, scale.rounds);
    report.add({"format by vsnprintf / by the platform's sprintf_s", 1, times[0] / times[1],
                at_least(5), times});
}

} // namespace l2vpn::bench
