// SPDX-License-Identifier: MIT
#include "records/diagnostic.h"

#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "records/suggestion.h"
#include "records/value.h"

namespace l2vpn::records {

std::string Diagnostic::text() const {
    return place.empty() ? problem : place + ": " + problem;
}

Diagnostic mismatch(std::size_t line, std::string place, const std::string &found,
                    const std::string &expected) {
    Diagnostic result{line, std::move(place), "expected " + expected, ""};
    result.kind = result.text();
    result.problem = fmt::format("found {}, expected {}", found, expected);
    return result;
}

Diagnostic unknown_name(std::size_t line, std::string place, std::string_view what,
                        const std::string &name, const std::vector<std::string> &known) {
    Diagnostic result{line, std::move(place), unknown(what, name, known), ""};
    result.kind = result.text();
    return result;
}

std::string place_of(std::string_view table) {
    return "table " + in_quotes(table);
}

std::string place_of(std::string_view table, std::string_view field) {
    return place_of(table) + ", field " + in_quotes(field);
}

void Diagnostics::add(const Diagnostic &diagnostic, const std::string &file) {
    constexpr std::size_t max_messages = 20;
    constexpr std::size_t max_kinds = 1000;
    ++count;
    if (messages.size() < max_messages) {
        messages.push_back(fmt::format("{}:{}: {}", file, diagnostic.line, diagnostic.text()));
    }
    const std::string kind = kinds.size() < max_kinds ? diagnostic.kind : "other";
    ++kinds.try_emplace(kind, Kind{0, diagnostic.line}).first->second.times;
}

std::string Diagnostics::text() const {
    std::string text = fmt::format("{}", fmt::join(messages, "\n"));
    if (count > messages.size()) {
        text += fmt::format("\nand {} more; in all:", count - messages.size());
        for (const auto &[kind, times] : kinds) {
            text += fmt::format("\n  {}, first in line {}: {}", counted(times.times, "time"),
                                times.first_line, kind);
        }
    }
    return text;
}

} // namespace l2vpn::records
