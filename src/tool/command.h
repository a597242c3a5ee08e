// SPDX-License-Identifier: MIT
// The commands of the tool: one list drives parsing, help and completion.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "records/field_value.h"

namespace l2vpn::tool {

/// Exit codes.
enum Exit : std::uint8_t {
    exit_done = 0,      ///< success
    exit_no = 1,        ///< negative result: no such record, files differ
    exit_bad_input = 2, ///< invalid command line or input
    exit_failed = 3,    ///< rejected by the store, or a file cannot be read or written
};

/// Ends a command with an error message and an exit code.
class Failure : public std::runtime_error {
public:
    Failure(Exit exit, const std::string &what) : std::runtime_error(what), code(exit) {}

    Exit code;
};

/// The arguments of all commands; each command uses those that it lists.
struct Arguments {
    std::string table, key, fields, hex, layout, output, svg, csv_table, topic;
    std::vector<std::string> tables, files, values, load;
    std::uint64_t batch_version = 0, instances = 100, seed = 1, records = 100000;
    bool all = false, csv = false, explain = false, json = false, keep_going = false, line = false,
         merge = false, raw = false, store = false;
    bool in_shell = false; ///< the line was entered in a shell

    records::Style style() const { return raw ? records::Style::raw : records::Style::display; }
};

/// A positional argument or an option.
struct Parameter {
    /// Selects the completions.
    enum class Kind : std::uint8_t { table, field, value, key, file, layout, command, none };
    using Target = std::variant<std::string Arguments::*, std::vector<std::string> Arguments::*,
                                std::uint64_t Arguments::*, bool Arguments::*>;

    const char *name; ///< "--key", or "TABLE" if positional
    Target target;
    Kind kind;
    bool required;
    const char *about;
};

struct Command {
    const char *name;
    const char *about;
    std::vector<const Parameter *> parameters; ///< positional ones in order
    Exit (*run)(const Arguments &arguments);
};

/// In the order of the help text.
const std::vector<Command> &commands();
std::vector<std::string> command_names();
/// Null if there is no such command.
const Command *command_named(std::string_view name);

/// The options that every command takes.
const std::vector<const Parameter *> &common_parameters();
/// These and the options of a command, unless it is null.
std::vector<const Parameter *> options_of(const Command *command);

/// Parses and runs one command.
/// @param given  defaults of the arguments
/// @throws Failure, records::Interrupted, and other exceptions as failures
Exit run_command(const std::vector<std::string> &words, const Arguments &given);

/// Runs the tool on its command line.
Exit run_tool(const std::vector<std::string> &words);

/// Prints an error on standard error.
/// @param place  the tool, or the line of a script
void report(std::string_view place, std::string_view what, bool json);

/// Runs a function, flushes standard output and reports failures.
/// @throws records::Interrupted
Exit guarded(std::string_view place, bool json, const std::function<Exit()> &run);

Exit run_tables(const Arguments &arguments);
Exit run_describe(const Arguments &arguments);
Exit run_layout(const Arguments &arguments);
Exit run_load(const Arguments &arguments);
Exit run_dump(const Arguments &arguments);
Exit run_get(const Arguments &arguments);
Exit run_find(const Arguments &arguments);
Exit run_put(const Arguments &arguments);
Exit run_set(const Arguments &arguments);
Exit run_set_batch_version(const Arguments &arguments);
Exit run_delete(const Arguments &arguments);
Exit run_count(const Arguments &arguments);
Exit run_stats(const Arguments &arguments);
Exit run_pack(const Arguments &arguments);
Exit run_unpack(const Arguments &arguments);
Exit run_key(const Arguments &arguments);
Exit run_diff(const Arguments &arguments);
Exit run_generate(const Arguments &arguments);
Exit run_bench(const Arguments &arguments);
Exit run_shell(const Arguments &arguments);
Exit run_help(const Arguments &arguments);

} // namespace l2vpn::tool
