// SPDX-License-Identifier: MIT
// Interactive command lines with history and completion.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace l2vpn::tool {

/// Completions of the end of a line.
using Completer = std::function<std::vector<std::string>(const std::string &line)>;

/// Uses libedit if it is installed, otherwise the line editing of the terminal driver.
class LineEditor {
public:
    explicit LineEditor(Completer completer);
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;
    /// Saves the history.
    ~LineEditor();

    /// Reads a line. Returns nullopt at the end of input.
    /// @throws records::Interrupted
    std::optional<std::string> read(const std::string &prompt);
};

} // namespace l2vpn::tool
