// SPDX-License-Identifier: MIT
// A person's command lines, with history and completion.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace l2vpn::tool {

/// What a line may go on with: completions of its last word.
using Completer = std::function<std::vector<std::string>(const std::string &line)>;

/// Editing is libedit's where it is installed, and the terminal's own where it is not.
class LineEditor {
public:
    explicit LineEditor(Completer completer);
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;
    /// Keeps the history for the next time.
    ~LineEditor();

    /// None at the end.
    /// @throws records::Interrupted
    std::optional<std::string> read(const std::string &prompt);
};

} // namespace l2vpn::tool
