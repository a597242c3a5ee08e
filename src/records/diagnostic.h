// SPDX-License-Identifier: MIT
// Diagnostics of input files: the first ones in full, all of them counted by kind.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::records {

struct Diagnostic {
    std::size_t line;    ///< 0 if the input has no lines
    std::string place;   ///< "table \"l2vpn_vpls_pw\", field \"mtu\""; may be empty
    std::string problem; ///< "found 70000, expected a number from 0 to 65535"
    std::string kind;    ///< the problem without the value found

    /// "<place>: <problem>"
    std::string text() const;
};

/// "found <found>, expected <expected>"
Diagnostic mismatch(std::size_t line, std::string place, const std::string &found,
                    const std::string &expected);

/// Reports a name that is not among the known ones, with a suggestion.
/// @param what  "table", "field"
Diagnostic unknown_name(std::size_t line, std::string place, std::string_view what,
                        const std::string &name, const std::vector<std::string> &known);

/// "table \"l2vpn_vpls_pw\"" and "table \"l2vpn_vpls_pw\", field \"mtu\"".
std::string place_of(std::string_view table);
std::string place_of(std::string_view table, std::string_view field);

/// The diagnostics of one file.
struct Diagnostics {
    struct Kind {
        std::size_t times;
        std::size_t first_line;
    };

    std::size_t count = 0;
    std::vector<std::string> messages; ///< of the first ones: "<file>:<line>: <text>"
    std::map<std::string, Kind> kinds;

    void add(const Diagnostic &diagnostic, const std::string &file);
    /// The messages, and the kinds if there are more diagnostics than messages.
    std::string text() const;
};

} // namespace l2vpn::records
