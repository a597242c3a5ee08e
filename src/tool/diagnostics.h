// SPDX-License-Identifier: MIT
// What is wrong with a file: the first mistakes in words, all of them by their kinds.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "records/record_reader.h"

namespace l2vpn::tool {

struct Refusals {
    struct Kind {
        std::size_t times;
        std::size_t first_line;
    };

    std::size_t count = 0;
    std::vector<std::string> messages; ///< of the first ones, each with its place
    std::map<std::string, Kind> kinds;

    void add(const records::Refusal &refusal, const std::string &file);
    /// The messages, and the kinds if there are more of them.
    std::string text() const;
};

} // namespace l2vpn::tool
