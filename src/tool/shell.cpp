// SPDX-License-Identifier: MIT
#include "tool/shell.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>

#include <fmt/format.h>
#include <unistd.h>

#include "records/input_file.h"
#include "records/interrupt.h"
#include "tool/command.h"
#include "tool/line_editor.h"

namespace l2vpn::tool {
namespace {

bool ends_session(const std::vector<std::string> &words) {
    return words.size() == 1 && (words[0] == "quit" || words[0] == "exit");
}

Exit run_line(std::string_view place, const std::vector<std::string> &words,
              const Arguments &arguments) {
    if (words.empty()) {
        return exit_done;
    }
    const bool json = arguments.json || std::ranges::count(words, "--json") != 0;
    return guarded(place, json, [&] {
        if (words[0] == "shell") {
            throw Failure(exit_bad_input, "found shell, expected a command, as this is one");
        }
        Arguments given;
        given.json = arguments.json;
        given.raw = arguments.raw;
        const Exit result = run_command(words, given);
        if (std::fflush(stdout) != 0) {
            throw records::FileError("standard output", "cannot be written");
        }
        return result;
    });
}

std::vector<std::string> words_or_none(std::string_view place, const std::string &line,
                                       const Arguments &arguments, Exit &result) {
    std::vector<std::string> words;
    result = guarded(place, arguments.json, [&] {
        words = words_of(line);
        return exit_done;
    });
    return words;
}

/// Stops at the first line that does not do what it says, and says which one that was.
Exit run_script(const std::string &path, const Arguments &arguments) {
    records::InputFile source(path);
    Exit worst = exit_done;
    for (std::string line; source.read_line(line);) {
        const std::string place = fmt::format("{}:{}", source.name(), source.line());
        Exit result = exit_done;
        const auto words = words_or_none(place, line, arguments, result);
        if (ends_session(words)) {
            break;
        }
        if (result == exit_done) {
            result = run_line(place, words, arguments);
        }
        worst = std::max(worst, result);
        if (result != exit_done && !arguments.keep_going) {
            if (result == exit_no) {
                report(place, "the answer is no; stopped here", arguments.json);
            }
            break;
        }
    }
    return worst;
}

Exit run_session(const Arguments &arguments) {
    fmt::print("help lists the commands; Tab completes them and the names of tables, fields and "
               "keys.\n");
    LineEditor editor(completions_of);
    while (true) {
        try {
            const auto line = editor.read("l2vpn-db> ");
            if (!line) {
                fmt::print("\n");
                return exit_done;
            }
            Exit result = exit_done;
            const auto words = words_or_none("l2vpn-db", *line, arguments, result);
            if (ends_session(words)) {
                return exit_done;
            }
            run_line("l2vpn-db", words, arguments);
        } catch (const records::Interrupted &interrupted) {
            if (interrupted.signal != SIGINT) { // the terminal is gone, or the session is to end
                throw;
            }
            report("l2vpn-db", "interrupted", arguments.json);
        }
    }
}

/// The command of a line that is being written, and the table that it names.
struct Context {
    const Command *command = nullptr;
    const records::Table *table = nullptr;
    std::size_t placed = 0;              ///< words that have a place, before the last word
    const Parameter *awaiting = nullptr; ///< the option that the last word is the value of
};

Context context_of(const std::vector<std::string> &words) {
    Context context;
    for (const std::string &word : words) {
        if (context.command == nullptr) {
            const auto found =
                std::ranges::find(commands(), word, [](const Command &each) { return each.name; });
            context.command = found == commands().end() ? nullptr : &*found;
            continue;
        }
        if (context.awaiting != nullptr) {
            context.awaiting = nullptr;
            continue;
        }
        if (word.starts_with("--")) {
            for (const Parameter *const each : context.command->parameters) {
                const bool flag = each->target.index() == 3;
                context.awaiting = each->name == word && !flag ? each : context.awaiting;
            }
            continue;
        }
        ++context.placed;
        const records::Table *const table = records::find_table(word);
        context.table = context.table == nullptr ? table : context.table;
    }
    return context;
}

std::vector<std::string> files_like(const std::string &word) {
    namespace fs = std::filesystem;
    const fs::path path(word);
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    std::vector<std::string> files;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename();
        files.push_back((path.has_parent_path() ? (folder / name).string() : name) +
                        (entry.is_directory(error) ? "/" : ""));
    }
    return files;
}

std::vector<std::string> known_words(Parameter::Kind kind, const records::Table *table,
                                     const std::string &word) {
    switch (kind) {
    case Parameter::Kind::table:
        return records::table_names();
    case Parameter::Kind::key:
        return table == nullptr ? std::vector<std::string>{} : records::key_names(*table);
    case Parameter::Kind::value:
    case Parameter::Kind::field: {
        auto names =
            table == nullptr ? std::vector<std::string>{} : records::field_names(table->fields);
        if (kind == Parameter::Kind::field) {
            std::ranges::for_each(names, [](std::string &name) { name += '='; });
        }
        return names;
    }
    case Parameter::Kind::file:
        return files_like(word);
    case Parameter::Kind::layout:
        return {"caller", "stored"};
    case Parameter::Kind::none:
        break;
    }
    return {};
}

} // namespace

std::vector<std::string> words_of(std::string_view line) {
    std::vector<std::string> words;
    char quote = '\0';
    bool in_word = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char character = line[i];
        if (quote == '\0' && (character == ' ' || character == '\t' || character == '\r')) {
            in_word = false;
            continue;
        }
        if (quote == '\0' && !in_word && character == '#') {
            break;
        }
        if (!in_word) {
            words.emplace_back();
            in_word = true;
        }
        if (character == quote) {
            quote = '\0';
        } else if (quote == '\0' && (character == '"' || character == '\'')) {
            quote = character;
        } else if (character == '\\' && quote != '\'' && i + 1 < line.size()) {
            words.back() += line[++i];
        } else {
            words.back() += character;
        }
    }
    if (quote != '\0') {
        throw Failure(exit_bad_input,
                      fmt::format("found {} that nothing closes, expected another one", quote));
    }
    return words;
}

std::vector<std::string> completions_of(const std::string &line) {
    const std::size_t begin = line.find_last_of(" \t,") + 1;
    const std::string word = line.substr(begin);
    std::vector<std::string> before;
    std::string text = line.substr(0, line.find_last_of(" \t") + 1);
    for (std::size_t from = text.find_first_not_of(" \t"); from < text.size();
         from = text.find_first_not_of(" \t", from)) {
        const std::size_t end = std::min(text.find_first_of(" \t", from), text.size());
        before.push_back(text.substr(from, end - from));
        from = end;
    }
    const Context context = context_of(before);
    std::vector<std::string> known;
    if (!before.empty() && (before.back() == "-l" || before.back() == "--load")) {
        known = files_like(word);
    } else if (context.command == nullptr) {
        for (const Command &command : commands()) {
            known.emplace_back(command.name);
        }
        known.insert(known.end(), {"help", "quit"});
    } else if (context.awaiting != nullptr) {
        known = known_words(context.awaiting->kind, context.table, word);
    } else {
        std::vector<const Parameter *> placed;
        for (const Parameter *const each : context.command->parameters) {
            if (*each->name == '-') {
                if (word.starts_with('-')) {
                    known.emplace_back(each->name);
                }
            } else {
                placed.push_back(each);
            }
        }
        if (word.starts_with('-')) {
            for (const Parameter *const each : common_parameters()) {
                known.emplace_back(each->name);
            }
        } else if (!placed.empty()) {
            known = known_words(placed[std::min(context.placed, placed.size() - 1)]->kind,
                                context.table, word);
        }
    }
    std::erase_if(known, [&](const std::string &each) { return !each.starts_with(word); });
    std::ranges::sort(known);
    return known;
}

Exit run_shell(const Arguments &arguments) {
    if (arguments.files.empty() && isatty(STDIN_FILENO) == 1) {
        return run_session(arguments);
    }
    Exit worst = exit_done;
    const std::vector<std::string> standard_input{"-"};
    for (const std::string &path : arguments.files.empty() ? standard_input : arguments.files) {
        worst = std::max(worst, run_script(path, arguments));
        if (worst != exit_done && !arguments.keep_going) {
            break;
        }
    }
    return worst;
}

} // namespace l2vpn::tool
