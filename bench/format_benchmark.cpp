// SPDX-License-Identifier: MIT
// The formatter, against one minimal pass over the record and against a sprintf_s that calls
// vsnprintf.
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/benchmarks.h"
#include "bench/reference_calls.h"
#include "bench/sample_records.h"
#include "bench/slice.h"
#include "bench/to_chars_format.h"
#include "bench/vsnprintf_format.h"

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

/// Throws if the text differs from the library's.
Slice formatting(Format format) {
    std::vector<L2vpnVplsPw> records;
    for (std::uint32_t i = 0; i < count; ++i) {
        records.push_back(pseudowire(i));
        if (text(library_format, records.back()) != text(format, records.back()))
            throw std::runtime_error("two formatters disagree");
    }
    return repeated([records, format](std::size_t n) {
        char buffer[2048];
        if (format(records[n % count], buffer, sizeof buffer) == 0)
            throw std::runtime_error("a formatter failed");
    });
}

} // namespace

void measure_format(const Scale &scale) {
    const Slice library = formatting(library_format);
    report({"format", "one pass of std::to_chars", 0,
            compare(library, formatting(to_chars_format), scale.slices, empty_slice()),
            at_most(1.6), "format"});
    report({"format over vsnprintf", "format", 0,
            compare(formatting(vsnprintf_format), library, scale.slices, empty_slice()),
            at_least(5)});
}

} // namespace l2vpn::bench
