// SPDX-License-Identifier: MIT
#include "tool/shell.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <set>
#include <sstream>

#include <fmt/format.h>
#include <unistd.h>

#include "records/input_file.h"
#include "records/interrupt.h"
#include "tool/command.h"
#include "tool/line_editor.h"
#include "tool/operands.h"

namespace l2vpn::tool {
namespace {

/// @param ended  out, whether the line ends the script or session
Exit run_line(std::string_view place, const std::string &line, const Arguments &arguments,
              bool &ended) {
    const bool json = arguments.json || line.find("--json") != line.npos;
    return guarded(place, json, [&] {
        const std::vector<std::string> words = words_of(line);
        ended = words.size() == 1 && (words[0] == "quit" || words[0] == "exit");
        if (words.empty() || ended) {
            return exit_done;
        }
        Arguments given;
        given.json = arguments.json;
        given.raw = arguments.raw;
        given.in_shell = true;
        return run_command(words, given);
    });
}

/// Stops at the first line that fails, unless told to keep going.
Exit run_script(const std::string &path, const Arguments &arguments) {
    records::InputFile script(path);
    Exit worst = exit_done;
    bool ended = false;
    for (std::string line; !ended && script.read_line(line);) {
        const std::string place = fmt::format("{}:{}", script.name(), script.line());
        const Exit result = run_line(place, line, arguments, ended);
        worst = std::max(worst, result);
        if (result != exit_done && !arguments.keep_going) {
            if (result == exit_no) {
                report(place, "stopped: the command exited with 1", arguments.json);
            }
            break;
        }
    }
    return worst;
}

Exit run_session(const Arguments &arguments) {
    fmt::print("help lists the commands, Tab completes, quit ends the session.\n");
    LineEditor editor(completions_of);
    for (bool ended = false; !ended;) {
        bool running = false;
        try {
            const auto line = editor.read("l2vpn-db> ");
            if (!line) {
                fmt::print("\n");
                return exit_done;
            }
            running = true;
            run_line("l2vpn-db", *line, arguments, ended);
        } catch (const records::Interrupted &interrupted) {
            if (interrupted.signal != SIGINT) { // SIGHUP or SIGTERM ends the session
                throw;
            }
            if (running) {
                report("l2vpn-db", "interrupted", arguments.json);
            } else {
                fmt::print("^C\n"); // the typed text stays visible on its own line
            }
        }
    }
    return exit_done;
}

using Words = std::vector<std::string>;

/// The part of a line before the word to complete.
struct Context {
    const Command *command = nullptr;
    const records::Table *table = nullptr; ///< the first table named
    std::size_t placed = 0;                ///< positional arguments so far
    const Parameter *awaiting = nullptr;   ///< the option whose value comes next
    Words values;                          ///< field=value arguments
};

const Parameter *option_named(const Command *command, std::string_view name) {
    const auto options = options_of(command);
    const auto found =
        std::ranges::find(options, name == "-l" ? "--load" : name,
                          [](const Parameter *each) { return std::string_view(each->name); });
    return found == options.end() ? nullptr : *found;
}

Context context_of(const Words &words) {
    Context context;
    for (const std::string &word : words) {
        if (context.awaiting != nullptr) {
            context.awaiting = nullptr;
        } else if (word.starts_with('-')) {
            const Parameter *const option = option_named(context.command, word);
            const bool flag =
                option == nullptr || std::holds_alternative<bool Arguments::*>(option->target);
            context.awaiting = flag ? nullptr : option;
        } else if (context.command == nullptr) {
            context.command = command_named(word);
        } else {
            ++context.placed;
            const records::Table *const table = records::find_table(word);
            context.table = context.table == nullptr ? table : context.table;
            if (word.find('=') != word.npos) {
                context.values.push_back(word);
            }
        }
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

/// "field=value" for the values that the field has in the table. A bounded number of records is
/// read: completion must not be slow.
Words values_like(const Context &context, const std::string &word) {
    constexpr std::size_t most_records = 10000, most_values = 200;
    const records::Field *const field =
        context.table == nullptr ? nullptr : context.table->field(word.substr(0, word.find('=')));
    std::set<std::string> values;
    if (field != nullptr && context.table->access) {
        std::size_t records = 0;
        try {
            walk(*context.table, context.table->primary_key(), nullptr, [&](const Bytes &record) {
                if (++records > most_records || values.size() == most_values) {
                    throw Failure(exit_done, "enough");
                }
                const bool matches =
                    std::ranges::all_of(context.values, [&](const std::string &given) {
                        const Field *const other =
                            context.table->field(given.substr(0, given.find('=')));
                        return other == nullptr || given.substr(given.find('=') + 1) ==
                                                       field_text(*other, record.data());
                    });
                if (matches) {
                    values.insert(
                        fmt::format("{}={}", field->name, field_text(*field, record.data())));
                }
            });
        } catch (const Failure &) { // enough, or the store has failed: there are no more values
        }
    }
    return {values.begin(), values.end()};
}

Words known_words(Parameter::Kind kind, const Context &context, const std::string &word) {
    switch (kind) {
    case Parameter::Kind::table:
        return records::table_names();
    case Parameter::Kind::key:
        return context.table == nullptr ? Words{} : records::key_names(*context.table);
    case Parameter::Kind::field:
        if (word.find('=') != word.npos) {
            return values_like(context, word);
        }
        [[fallthrough]];
    case Parameter::Kind::value: {
        Words names = context.table == nullptr ? Words{} : field_names(context.table->fields);
        for (std::string &name : names) {
            name += kind == Parameter::Kind::field ? "=" : "";
        }
        return names;
    }
    case Parameter::Kind::file:
        return files_like(word);
    case Parameter::Kind::layout:
        return {"caller", "stored"};
    case Parameter::Kind::command:
        return command_names();
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
        throw Failure(exit_bad_input, fmt::format("unclosed quotation mark {}", quote));
    }
    return words;
}

std::vector<std::string> completions_of(const std::string &line) {
    const std::size_t begin = line.find_last_of(" \t") + 1;
    std::string word = line.substr(begin), before = line.substr(0, begin);
    std::istringstream stream(before);
    const Words words{std::istream_iterator<std::string>(stream), {}};
    Context context = context_of(words);
    std::string prefix; // of the word, which completions keep
    if (const std::size_t equals = word.find('='); word.starts_with("--") && equals != word.npos) {
        context.awaiting = option_named(context.command, word.substr(0, equals));
        prefix = word.substr(0, equals + 1);
        word.erase(0, equals + 1);
    }
    if (const std::size_t comma = word.rfind(','); comma != word.npos) {
        prefix.clear();
        word.erase(0, comma + 1);
    }
    Words known;
    if (context.awaiting != nullptr) {
        known = known_words(context.awaiting->kind, context, word);
    } else if (word.starts_with('-')) {
        for (const Parameter *const each : options_of(context.command)) {
            known.emplace_back(each->name);
        }
    } else if (context.command == nullptr) {
        known = known_words(Parameter::Kind::command, context, word);
        known.emplace_back("quit");
    } else {
        std::vector<const Parameter *> positional = context.command->parameters;
        std::erase_if(positional, [](const Parameter *each) { return *each->name == '-'; });
        if (!positional.empty()) {
            const std::size_t last = positional.size() - 1;
            known = known_words(positional[std::min(context.placed, last)]->kind, context, word);
        }
    }
    std::set<std::string> completions;
    for (const std::string &each : known) {
        if (each.starts_with(word)) {
            completions.insert(prefix + each);
        }
    }
    return {completions.begin(), completions.end()};
}

Exit run_shell(const Arguments &arguments) {
    if (arguments.in_shell) {
        throw Failure(exit_bad_input, "shell: already in a shell");
    }
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
