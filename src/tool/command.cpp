// SPDX-License-Identifier: MIT
#include "tool/command.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <filesystem>
#include <iterator>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "records/input_file.h"
#include "records/interrupt.h"
#include "records/suggestion.h"
#include "records/value.h"
#include "tool/load.h"
#include "tool/result_table.h"
#include "tool/shell.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Kind = Parameter::Kind;

constexpr const char *about_tool =
    "Inspects the layer-2 VPN tables: their records, the layouts of the records and\n"
    "the keys that find them. The tables live in this process and start empty: load\n"
    "records first.";
constexpr const char *common_options =
    "All commands also take --json, --raw and --load; see l2vpn-db --help.";
constexpr const char *exit_codes =
    "Exit codes: 0 done; 1 no such record, or files differ; 2 invalid command line or\n"
    "input; 3 rejected by the store, or a file cannot be read or written.";

const Parameter table{"TABLE", &Arguments::table, Kind::table, true, "a table name"};
const Parameter tables{"TABLE", &Arguments::tables, Kind::table, false, "tables; default: all"};
const Parameter files{"FILE", &Arguments::files, Kind::file, true, "files; - is standard input"};
const Parameter script{"FILE", &Arguments::files, Kind::file, false,
                       "scripts; default: standard input"};
const Parameter values{"VALUES", &Arguments::values, Kind::field, false,
                       "fields, as in mtu=1500; the others are 0"};
const Parameter set_values{"VALUES", &Arguments::values, Kind::field, true,
                           "the primary key, and the fields to change, as in mtu=1500"};
const Parameter key_values{"VALUES", &Arguments::values, Kind::field, true,
                           "all members of a key, as in vrIndex=1"};
const Parameter batch_version{"VERSION", &Arguments::batch_version, Kind::none, true,
                              "the new batch version"};
const Parameter hex{"HEX", &Arguments::hex, Kind::none, true,
                    "hexadecimal bytes, or a file that holds a dump or the bytes\n"
                    "themselves; - is standard input"};
const Parameter key_name{"--key", &Arguments::key, Kind::key, false,
                         "a key name, if its members are ambiguous"};
const Parameter fields{"--fields", &Arguments::fields, Kind::value, false,
                       "fields to show, as in mtu,peerIp"};
const Parameter all{"--all", &Arguments::all, Kind::none, false,
                    "show also columns that are 0 in all records"};
const Parameter line{"--line", &Arguments::line, Kind::none, false,
                     "the one-line form of the library"};
const Parameter csv{"--csv", &Arguments::csv, Kind::none, false, "comma-separated values"};
const Parameter output{"--output", &Arguments::output, Kind::file, false,
                       "a file to write; - is standard output"};
const Parameter svg{"--svg", &Arguments::svg, Kind::file, false,
                    "write an SVG picture to this file"};
const Parameter csv_table{"--table", &Arguments::csv_table, Kind::table, false,
                          "the table of a CSV file, if not its name"};
const Parameter keep_going{"--keep-going", &Arguments::keep_going, Kind::none, false,
                           "skip what is invalid, not the whole file"};
const Parameter merge{"--merge", &Arguments::merge, Kind::none, false,
                      "keep the fields that a file does not give"};
const Parameter only_layout{"--layout", &Arguments::layout, Kind::layout, false,
                            "print only the bytes of this layout: caller or stored"};
const Parameter instances{"--instances", &Arguments::instances, Kind::none, false,
                          "service instances in the network"};
const Parameter seed{"--seed", &Arguments::seed, Kind::none, false, "selects one of many networks"};
const Parameter store{"--store", &Arguments::store, Kind::none, false,
                      "store the records in the tables"};
const Parameter record_count{"--records", &Arguments::records, Kind::none, false,
                             "records to measure with"};
const Parameter explain{"--explain", &Arguments::explain, Kind::none, false,
                        "show the closest records and the members that differ"};
const Parameter topic{"COMMAND", &Arguments::topic, Kind::command, false, "a command"};
const Parameter load{"--load", &Arguments::load, Kind::file, false,
                     "a file to load first; may be repeated"};
const Parameter as_json{"--json", &Arguments::json, Kind::none, false, "JSON, one object per line"};
const Parameter raw{"--raw", &Arguments::raw, Kind::none, false, "addresses and bytes as numbers"};

/// A validator: returns an error message, or "" for a number.
std::string not_a_number(const std::string &text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool right = error == std::errc{} && end == text.data() + text.size();
    return right ? ""
                 : fmt::format("found {}, expected a number from 0 to {}", records::in_quotes(text),
                               UINT64_MAX);
}

/// The placeholder of an option's value in help, by kind. Positional arguments show their names.
constexpr std::array<const char *, 8> placeholders = {"TABLE", "",       "FIELD,...", "NAME",
                                                      "FILE",  "LAYOUT", "",          "N"};

bool is_given(const Parameter &parameter, const Arguments &arguments) {
    return std::visit(
        [&](auto member) {
            const auto &value = arguments.*member;
            if constexpr (requires { value.empty(); }) {
                return !value.empty();
            } else {
                return value != 0;
            }
        },
        parameter.target);
}

void add(CLI::App &app, const Parameter &parameter, Arguments &arguments) {
    std::visit(
        [&](auto member) {
            auto &target = arguments.*member;
            if constexpr (std::is_same_v<decltype(target), bool &>) {
                app.add_flag(parameter.name, target, parameter.about);
            } else {
                const std::string name = &parameter == &load ? "-l,--load" : parameter.name;
                CLI::Option *const added = app.add_option(name, target, parameter.about);
                if (*parameter.name == '-') {
                    added->allow_extra_args(false);
                }
                added->required(parameter.required);
                added->type_name(*parameter.name == '-'
                                     ? placeholders[static_cast<std::size_t>(parameter.kind)]
                                     : "");
                if constexpr (std::is_same_v<decltype(target), std::uint64_t &>) {
                    added->check(not_a_number);
                    if (!parameter.required) {
                        added->capture_default_str();
                    }
                }
            }
        },
        parameter.target);
}

/// The error for a word that the parser has not consumed.
/// @param command  null if the line names none
std::string unexpected(const std::string &word, const Command *command) {
    const bool option = word.starts_with('-');
    if (command != nullptr && !option) {
        return fmt::format("{}: unexpected argument {}", command->name, records::in_quotes(word));
    }
    std::vector<std::string> known = option ? std::vector<std::string>{"--help"} : command_names();
    for (const Parameter *const parameter : options_of(command)) {
        if (option) {
            known.emplace_back(parameter->name);
        }
    }
    const std::string text = records::unknown(option ? "option" : "command", word, known);
    return text.ends_with('?') ? text
           : command == nullptr
               ? text + "; \"help\" lists the commands"
               : fmt::format("{}; \"help {}\" lists the options", text, command->name);
}

/// Parses a command line.
class Parser {
public:
    explicit Parser(const Arguments &given) : arguments(given) {
        app_.name("l2vpn-db");
        app_.description(about_tool);
        app_.footer(exit_codes);
        app_.set_help_flag("-h,--help", "this text");
        app_.require_subcommand(0, 1);
        app_.fallthrough();
        for (const Parameter *const parameter : common_parameters()) {
            add(app_, *parameter, arguments);
        }
        app_.set_version_flag("--version", "l2vpn-db " L2VPN_VERSION, "the version");
        for (const Command &command : commands()) {
            CLI::App &added = *app_.add_subcommand(command.name, command.about);
            added.fallthrough();
            added.footer(fmt::format("{}\n{}", common_options, exit_codes));
            for (const Parameter *const parameter : command.parameters) {
                add(added, *parameter, arguments);
            }
        }
    }

    /// Handles --help and --version.
    /// @return the command that the line names; null if it names none
    const Command *parse(const std::vector<std::string> &words) {
        try {
            app_.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        } catch (const CLI::ExtrasError &) {
            throw Failure(exit_bad_input, unexpected(app_.remaining(true).front(), command()));
        } catch (const CLI::CallForHelp &) {
            answered = true;
            fmt::print("{}", command() == nullptr ? app_.help() : last_app().help(app_.get_name()));
        } catch (const CLI::CallForVersion &version) {
            answered = true;
            fmt::print("{}", arguments.json ? json_line("tool", version.what())
                                            : std::string(version.what()) + "\n");
        } catch (const CLI::RequiredError &) {
            throw Failure(exit_bad_input, missing());
        } catch (const CLI::ParseError &error) {
            throw Failure(exit_bad_input, error.what());
        }
        if (command() != nullptr) {
            check_exclusive(*command());
        }
        return command();
    }

    Arguments arguments;
    bool answered = false;

private:
    CLI::App &last_app() {
        const auto parsed = app_.get_subcommands();
        return parsed.empty() ? app_ : *parsed.front();
    }
    const Command *command() { return command_named(last_app().get_name()); }
    void check_exclusive(const Command &command) const {
        static const std::vector<std::vector<const Parameter *>> exclusive = {
            {&as_json, &csv, &line}, {&line, &fields},         {&line, &all},
            {&as_json, &svg},        {&as_json, &only_layout}, {&output, &store},
        };
        for (const auto &options : exclusive) {
            std::vector<const char *> given;
            for (const Parameter *const option : options) {
                if (is_given(*option, arguments)) {
                    given.push_back(option->name);
                }
            }
            if (given.size() > 1) {
                throw Failure(exit_bad_input, fmt::format("{}: {} exclude each other", command.name,
                                                          fmt::join(given, " and ")));
            }
        }
    }
    std::string missing() {
        for (const Parameter *const parameter : command()->parameters) {
            if (parameter->required && last_app().count(parameter->name) == 0) {
                return fmt::format("{}: missing {}: {}", command()->name, parameter->name,
                                   parameter->about);
            }
        }
        return fmt::format("{}: missing arguments", command()->name);
    }

    CLI::App app_;
};

} // namespace

const std::vector<Command> &commands() {
    static const std::vector<Command> list = {
        {"tables", "lists the tables with their sizes and records", {&csv}, run_tables},
        {"describe", "shows the fields and keys of a table", {&table, &csv}, run_describe},
        {"layout",
         "draws the records and keys of a table byte by byte",
         {&table, &svg},
         run_layout},
        {"load",
         "reads records from files into the tables",
         {&files, &csv_table, &merge, &keep_going},
         run_load},
        {"dump",
         "prints the records of tables",
         {&tables, &fields, &all, &line, &csv, &output},
         run_dump},
        {"get",
         "prints the record with a primary key",
         {&table, &key_values, &fields, &line, &csv},
         run_get},
        {"find",
         "prints the records with a key",
         {&table, &key_values, &key_name, &fields, &all, &line, &csv},
         run_find},
        {"put", "inserts or replaces a whole record", {&table, &values}, run_put},
        {"set", "changes some fields of a record", {&table, &set_values}, run_set},
        {"set-batch-version",
         "changes only the batch version of a record",
         {&table, &batch_version, &key_values},
         run_set_batch_version},
        {"delete", "deletes the record with a primary key", {&table, &key_values}, run_delete},
        {"count", "counts records", {&tables, &csv}, run_count},
        {"stats", "shows the event counters of the store", {&tables, &csv}, run_stats},
        {"pack",
         "shows the bytes of a record in both layouts",
         {&table, &values, &only_layout},
         run_pack},
        {"unpack",
         "decodes the bytes of a record",
         {&table, &hex, &fields, &line, &csv},
         run_unpack},
        {"key",
         "shows the bytes of a key, and why it finds nothing",
         {&table, &values, &key_name, &explain},
         run_key},
        {"diff", "compares the records of two files", {&files, &csv_table}, run_diff},
        {"generate",
         "generates the records of a made-up network",
         {&instances, &seed, &output, &store},
         run_generate},
        {"bench", "measures the operations of tables", {&tables, &record_count, &csv}, run_bench},
        {"shell",
         "runs commands line by line, on one set of tables",
         {&script, &keep_going},
         run_shell},
        {"help", "explains a command", {&topic}, run_help},
    };
    return list;
}

std::vector<std::string> command_names() {
    std::vector<std::string> names;
    std::ranges::transform(commands(), std::back_inserter(names), &Command::name);
    return names;
}

const Command *command_named(std::string_view name) {
    const auto found = std::ranges::find(commands(), name, &Command::name);
    return found == commands().end() ? nullptr : &*found;
}

const std::vector<const Parameter *> &common_parameters() {
    static const std::vector<const Parameter *> list = {&load, &as_json, &raw};
    return list;
}

std::vector<const Parameter *> options_of(const Command *command) {
    std::vector<const Parameter *> options = common_parameters();
    if (command != nullptr) {
        std::ranges::copy_if(command->parameters, std::back_inserter(options),
                             [](const Parameter *each) { return *each->name == '-'; });
    }
    return options;
}

Exit run_help(const Arguments &arguments) {
    std::vector<std::string> words{"--help"};
    if (!arguments.topic.empty()) {
        if (command_named(arguments.topic) == nullptr) {
            throw Failure(exit_bad_input, unexpected(arguments.topic, nullptr));
        }
        words.push_back(arguments.topic);
    }
    Parser({}).parse(words);
    return exit_done;
}

Exit run_command(const std::vector<std::string> &words, const Arguments &given) {
    Parser parser(given);
    const Command *command = parser.parse(words);
    if (parser.answered) {
        return exit_done;
    }
    if (command == nullptr && !given.in_shell) {
        command = command_named("shell");
    }
    for (const std::string &file : parser.arguments.load) {
        load_before(file);
    }
    return command == nullptr ? exit_done : command->run(parser.arguments);
}

void report(std::string_view place, std::string_view what, bool json) {
    const std::string text = fmt::format("{}: {}", place, what);
    write_error(json ? json_line("error", text) : text + "\n");
}

Exit guarded(std::string_view place, bool json, const std::function<Exit()> &run) {
    try {
        const Exit result = run();
        if (std::fflush(stdout) != 0) {
            throw records::FileError("standard output", "cannot be written");
        }
        return result;
    } catch (const Failure &failure) {
        report(place, failure.what(), json);
        return failure.code;
    } catch (const std::exception &failure) {
        records::check_interrupt(); // an interrupt makes blocked input and output fail
        report(place, failure.what(), json);
        return exit_failed;
    }
}

/// Loads the files named on a line that is being typed, unless they are large: their values are
/// completions.
static void load_for_completion(const std::string &typed) {
    constexpr std::uintmax_t most_bytes = 4 << 20;
    const std::vector<std::string> words = words_of(typed);
    for (std::size_t i = 1; i < words.size(); ++i) {
        std::error_code error;
        if ((words[i - 1] == "-l" || words[i - 1] == "--load") &&
            std::filesystem::is_regular_file(words[i], error) &&
            std::filesystem::file_size(words[i], error) <= most_bytes) {
            load_before(words[i]);
        }
    }
}

Exit run_tool(const std::vector<std::string> &words) {
    return guarded("l2vpn-db", std::ranges::count(words, "--json") != 0, [&] {
        if (words.size() == 2 && words[0] == "--complete") { // called by completion.bash
            load_for_completion(words[1]);
            for (const std::string &completion : completions_of(words[1])) {
                fmt::print("{}\n", completion);
            }
            return exit_done;
        }
        return run_command(words, {});
    });
}

} // namespace l2vpn::tool
