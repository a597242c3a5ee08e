// SPDX-License-Identifier: MIT
#include "tool/command.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <map>

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
    "Looks into the layer-2 VPN tables: what they hold, what a record means, what it\n"
    "looks like packed, which records a key finds. The tables live as long as the\n"
    "process: load records first.";
constexpr const char *common_options =
    "All commands take --json, --raw and --load, see l2vpn-db --help.";
constexpr const char *exit_codes =
    "Exit codes: 0 done; 1 no such record, or a difference; 2 wrong command line or\n"
    "input; 3 refused by the store, or a file that cannot be read or written.";

const Parameter table{"TABLE", &Arguments::table, Kind::table, true, "a table's name"};
const Parameter tables{"TABLE", &Arguments::tables, Kind::table, false, "tables; all without one"};
const Parameter files{"FILE", &Arguments::files, Kind::file, true, "files; - for standard input"};
const Parameter script{"FILE", &Arguments::files, Kind::file, false,
                       "scripts; - or nothing for standard input"};
const Parameter values{"VALUES", &Arguments::values, Kind::field, false,
                       "fields, as in mtu=1500; the others are 0"};
const Parameter set_values{"VALUES", &Arguments::values, Kind::field, true,
                           "the primary key, and the fields to change, as in mtu=1500"};
const Parameter key_values{"VALUES", &Arguments::values, Kind::field, true,
                           "the members of a key, as in vrIndex=1"};
const Parameter batch_version{"VERSION", &Arguments::batch_version, Kind::none, true,
                              "the new batch version"};
const Parameter hex{"HEX", &Arguments::hex, Kind::none, true,
                    "bytes, perhaps with blanks; - for standard input"};
const Parameter key_name{"--key", &Arguments::key, Kind::key, false,
                         "a key's name, if its members do not tell"};
const Parameter fields{"--fields", &Arguments::fields, Kind::value, false,
                       "fields to show, as in mtu,peerIp"};
const Parameter all{"--all", &Arguments::all, Kind::none, false,
                    "show also the columns that are 0 in all records"};
const Parameter line{"--line", &Arguments::line, Kind::none, false, "the library's one-line form"};
const Parameter csv{"--csv", &Arguments::csv, Kind::none, false, "comma-separated values"};
const Parameter output{"--output", &Arguments::output, Kind::file, false,
                       "a file to write; - for standard output"};
const Parameter svg{"--svg", &Arguments::svg, Kind::file, false, "a file for the picture as SVG"};
const Parameter csv_table{"--table", &Arguments::csv_table, Kind::table, false,
                          "the table of CSV, if its file's name does not tell"};
const Parameter keep_going{"--keep-going", &Arguments::keep_going, Kind::none, false,
                           "leave out what is wrong, not the whole file"};
const Parameter merge{"--merge", &Arguments::merge, Kind::none, false,
                      "keep the fields that a file does not give"};
const Parameter only_layout{"--layout", &Arguments::layout, Kind::layout, false,
                            "only the bytes of this layout: caller or stored"};
const Parameter instances{"--instances", &Arguments::instances, Kind::none, false,
                          "service instances in the network"};
const Parameter seed{"--seed", &Arguments::seed, Kind::none, false,
                     "another number gives another network"};
const Parameter store{"--store", &Arguments::store, Kind::none, false,
                      "write the records into the tables instead"};
const Parameter record_count{"--records", &Arguments::records, Kind::none, false,
                             "how many records to measure with"};
const Parameter as_json{"--json", &Arguments::json, Kind::none, false,
                        "one JSON object a line, for programs"};
const Parameter raw{"--raw", &Arguments::raw, Kind::none, false, "addresses and bytes as numbers"};

std::vector<std::string> command_names() {
    std::vector<std::string> names;
    for (const Command &command : commands()) {
        names.emplace_back(command.name);
    }
    return names;
}

/// Whether a text is a number that an argument holds; why not, for people.
std::string not_a_number(const std::string &text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool right = error == std::errc{} && end == text.data() + text.size();
    return right ? ""
                 : fmt::format("found {}, expected a number from 0 to {}", records::in_quotes(text),
                               UINT64_MAX);
}

/// What stands for an option's value in help; an argument with a place has its name.
std::string type_name(const Parameter &parameter) {
    if (*parameter.name != '-') {
        return "";
    }
    switch (parameter.kind) {
    case Kind::table:
        return "TABLE";
    case Kind::key:
        return "NAME";
    case Kind::file:
        return "FILE";
    case Kind::value:
        return "FIELD,...";
    case Kind::layout:
        return "LAYOUT";
    case Kind::field:
    case Kind::none:
        break;
    }
    return "N";
}

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
                CLI::Option *const added = app.add_option(parameter.name, target, parameter.about);
                added->required(parameter.required)->type_name(type_name(parameter));
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

/// What stands where nothing fits.
/// @param command  null if none has been named
/// @param for_shell  whether the tool's own options are out of place, too
std::string unexpected(const std::string &word, const Command *command, bool for_shell) {
    const bool option = word.starts_with('-');
    if (command != nullptr && !option) {
        return fmt::format("{}: found {}, expected no more arguments", command->name,
                           records::in_quotes(word));
    }
    std::vector<std::string> known = option ? std::vector<std::string>{"--help"} : command_names();
    known.emplace_back(option ? for_shell ? "--json" : "--load" : "help");
    const auto add_options = [&](const std::vector<const Parameter *> &parameters) {
        for (const Parameter *const parameter : parameters) {
            if (option && *parameter->name == '-') {
                known.emplace_back(parameter->name);
            }
        }
    };
    add_options(common_parameters());
    add_options(command == nullptr ? std::vector<const Parameter *>{} : command->parameters);
    return records::unknown(option ? "option" : "command", word, known);
}

/// Parses a command line and says which command it gives; none if it gives none.
class Parser {
public:
    /// @param for_shell  for a line in which the tool's own options are left out
    Parser(const Arguments &given, bool for_shell) : arguments(given), for_shell_(for_shell) {
        app_.name("l2vpn-db");
        app_.description(about_tool);
        app_.footer(exit_codes);
        app_.set_help_flag("-h,--help", "this text");
        app_.require_subcommand(0, 1);
        app_.fallthrough();
        for (const Parameter *const parameter : common_parameters()) {
            add(app_, *parameter, arguments);
        }
        if (!for_shell) {
            app_.add_option("-l,--load", load, "a file to load first; may be given again")
                ->type_name("FILE")
                ->allow_extra_args(false);
            app_.set_version_flag("--version", "l2vpn-db " L2VPN_VERSION, "the version");
        }
        for (const Command &command : commands()) {
            CLI::App &added = *app_.add_subcommand(command.name, command.about);
            added.fallthrough();
            added.footer(fmt::format("{}\n{}", common_options, exit_codes));
            for (const Parameter *const parameter : command.parameters) {
                add(added, *parameter, arguments);
            }
        }
    }

    const Command *parse(const std::vector<std::string> &words) {
        std::vector<std::string> reversed(words.rbegin(), words.rend());
        if (!reversed.empty() && reversed.back() == "help") { // "help load" is "load --help"
            reversed.pop_back();
            reversed.insert(reversed.begin(), "--help");
        }
        try {
            app_.parse(std::move(reversed));
        } catch (const CLI::ExtrasError &) {
            throw Failure(exit_bad_input,
                          unexpected(app_.remaining(true).front(), command(), for_shell_));
        } catch (const CLI::CallForHelp &) {
            fmt::print("{}", command() == nullptr ? app_.help() : last_app().help(app_.get_name()));
            return nullptr;
        } catch (const CLI::CallForVersion &version) {
            fmt::print("{}\n", version.what());
            return nullptr;
        } catch (const CLI::RequiredError &) {
            throw Failure(exit_bad_input, missing());
        } catch (const CLI::ParseError &error) {
            throw Failure(exit_bad_input, error.what());
        }
        const Command *const chosen = command() == nullptr ? &commands().back() : command();
        check_either(*chosen);
        return chosen;
    }

    Arguments arguments;
    std::vector<std::string> load;

private:
    CLI::App &last_app() {
        const auto parsed = app_.get_subcommands();
        return parsed.empty() ? app_ : *parsed.front();
    }
    /// The one that was named; null if none was.
    const Command *command() {
        const auto found = std::ranges::find(commands(), last_app().get_name(),
                                             [](const Command &each) { return each.name; });
        return found == commands().end() ? nullptr : &*found;
    }
    void check_either(const Command &command) const {
        for (const auto &options : command.either) {
            std::vector<const char *> found;
            for (const Parameter *const option : options) {
                if (is_given(*option, arguments)) {
                    found.push_back(option->name);
                }
            }
            if (found.size() > 1) {
                throw Failure(exit_bad_input, fmt::format("{}: found {}, expected one of them",
                                                          command.name, fmt::join(found, " and ")));
            }
        }
    }
    std::string missing() {
        for (const Parameter *const parameter : command()->parameters) {
            if (parameter->required && last_app().count(parameter->name) == 0) {
                return fmt::format("{}: found no {}, expected {}", command()->name, parameter->name,
                                   parameter->about);
            }
        }
        return "arguments are missing";
    }

    CLI::App app_;
    bool for_shell_;
};

} // namespace

const std::vector<Command> &commands() {
    static const std::vector<Command> list = {
        {"tables",
         "lists the tables with their sizes and records",
         {&csv},
         run_tables,
         {{&as_json, &csv}}},
        {"describe",
         "shows the fields and keys of a table",
         {&table, &csv},
         run_describe,
         {{&as_json, &csv}}},
        {"layout",
         "draws a table's records and keys byte by byte",
         {&table, &svg},
         run_layout,
         {{&as_json, &svg}}},
        {"load",
         "reads records from files into the tables",
         {&files, &csv_table, &merge, &keep_going},
         run_load},
        {"dump",
         "prints the records of tables",
         {&tables, &fields, &all, &line, &csv, &output},
         run_dump,
         {{&as_json, &csv, &line}, {&line, &fields}, {&line, &all}}},
        {"get",
         "prints the record with a primary key",
         {&table, &key_values, &fields, &line, &csv},
         run_get,
         {{&as_json, &csv, &line}, {&line, &fields}}},
        {"find",
         "prints the records with a key",
         {&table, &key_values, &key_name, &fields, &all, &line, &csv},
         run_find,
         {{&as_json, &csv, &line}, {&line, &fields}, {&line, &all}}},
        {"put", "inserts or replaces a whole record", {&table, &values}, run_put},
        {"set", "changes some fields of a record", {&table, &set_values}, run_set},
        {"set-batch-version",
         "changes nothing but a record's batch version",
         {&table, &batch_version, &key_values},
         run_set_batch_version},
        {"delete", "deletes the record with a primary key", {&table, &key_values}, run_delete},
        {"count", "counts records", {&tables, &csv}, run_count, {{&as_json, &csv}}},
        {"stats",
         "shows the event counters of the store",
         {&tables, &csv},
         run_stats,
         {{&as_json, &csv}}},
        {"pack",
         "shows a record's bytes in both layouts",
         {&table, &values, &only_layout},
         run_pack,
         {{&as_json, &only_layout}}},
        {"unpack",
         "shows the record that bytes hold",
         {&table, &hex, &fields, &line, &csv},
         run_unpack,
         {{&as_json, &csv, &line}, {&line, &fields}}},
        {"key", "shows a key of a record byte by byte", {&table, &values, &key_name}, run_key},
        {"diff", "compares the records of two files", {&files, &csv_table}, run_diff},
        {"generate",
         "makes up a network",
         {&instances, &seed, &output, &store},
         run_generate,
         {{&output, &store}}},
        {"bench",
         "measures the operations of tables",
         {&tables, &record_count, &csv},
         run_bench,
         {{&as_json, &csv}}},
        {"shell",
         "runs commands line by line, on one set of tables",
         {&script, &keep_going},
         run_shell},
    };
    return list;
}

const std::vector<const Parameter *> &common_parameters() {
    static const std::vector<const Parameter *> list = {&as_json, &raw};
    return list;
}

Exit run_command(const std::vector<std::string> &words, const Arguments &given) {
    Parser parser(given, true);
    const Command *const command = parser.parse(words);
    return command == nullptr ? exit_done : command->run(parser.arguments);
}

void report(std::string_view place, std::string_view what, bool json) {
    const std::string text = fmt::format("{}: {}", place, what);
    write_error(json ? json_line("error", text) : text + "\n");
}

Exit guarded(std::string_view place, bool json, const std::function<Exit()> &run) {
    try {
        return run();
    } catch (const Failure &failure) {
        report(place, failure.what(), json);
        return failure.code;
    } catch (const std::exception &failure) {
        records::check_interrupt(); // which ends what waits for input or output
        report(place, failure.what(), json);
        return exit_failed;
    }
}

Exit run_tool(const std::vector<std::string> &words) {
    const bool json = std::ranges::count(words, "--json") != 0;
    const auto run = [&]() -> Exit {
        if (words.size() == 2 && words[0] == "--complete") { // for a person's own shell
            fmt::print("{}\n", fmt::join(completions_of(words[1]), "\n"));
            return exit_done;
        }
        Parser parser({}, false);
        const Command *const command = parser.parse(words);
        if (command == nullptr) {
            return exit_done;
        }
        for (const std::string &file : parser.load) {
            load_before(file);
        }
        return command->run(parser.arguments);
    };
    return guarded("l2vpn-db", json, [&] {
        const Exit result = run();
        if (std::fflush(stdout) != 0) {
            throw records::FileError("standard output", "cannot be written");
        }
        return result;
    });
}

} // namespace l2vpn::tool
