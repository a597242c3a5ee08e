// SPDX-License-Identifier: MIT
#include "tool/diagnostics.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "records/value.h"

namespace l2vpn::tool {

void Refusals::add(const records::Refusal &refusal, const std::string &file) {
    constexpr std::size_t most_messages = 20;
    constexpr std::size_t most_kinds = 1000; // a file can be wrong in any number of ways
    ++count;
    if (messages.size() < most_messages) {
        messages.push_back(refusal.message(file));
    }
    const std::string kind = kinds.size() < most_kinds ? refusal.kind() : "other";
    ++kinds.try_emplace(kind, Kind{0, refusal.line}).first->second.times;
}

std::string Refusals::text() const {
    std::string text = fmt::format("{}", fmt::join(messages, "\n"));
    if (count > messages.size()) {
        text += fmt::format("\nand {} more; in all:", count - messages.size());
        for (const auto &[kind, times] : kinds) {
            text += fmt::format("\n  {}, first in line {}: {}",
                                records::counted(times.times, "time"), times.first_line, kind);
        }
    }
    return text;
}

} // namespace l2vpn::tool
