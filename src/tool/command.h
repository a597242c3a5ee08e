// SPDX-License-Identifier: MIT
// The tool's commands: one list, from which command lines are parsed, explained and completed.
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

/// What the tool exits with.
enum Exit : std::uint8_t {
    exit_done = 0,      ///< the command did what it says
    exit_no = 1,        ///< it did, and the answer is no: no such record, files that differ
    exit_bad_input = 2, ///< the command line, or what was read, is not as it must be
    exit_failed = 3,    ///< the store refused, or a file could not be read or written
};

/// A command cannot go on; what() tells people why.
class Failure : public std::runtime_error {
public:
    Failure(Exit exit, const std::string &what) : std::runtime_error(what), code(exit) {}

    Exit code;
};

/// The arguments of any command; each uses those that it lists.
struct Arguments {
    std::string table, key, fields, hex, layout, output, svg, csv_table;
    std::vector<std::string> tables, files, values;
    std::uint64_t batch_version = 0, instances = 100, seed = 1, records = 100000;
    bool all = false, csv = false, json = false, keep_going = false, line = false, merge = false,
         raw = false, store = false;

    records::Style style() const { return raw ? records::Style::raw : records::Style::display; }
};

/// An argument: how it is written, where it goes, and what completes it.
struct Parameter {
    enum class Kind : std::uint8_t { table, field, value, key, file, layout, none };
    using Target = std::variant<std::string Arguments::*, std::vector<std::string> Arguments::*,
                                std::uint64_t Arguments::*, bool Arguments::*>;

    const char *name; ///< "--key", or "TABLE" for one that has its place
    Target target;
    Kind kind;
    bool required;
    const char *about;
};

struct Command {
    const char *name;
    const char *about;
    std::vector<const Parameter *> parameters; ///< those with a place in their order
    Exit (*run)(const Arguments &arguments);
    /// Sets of options of which one at most can be given.
    std::vector<std::vector<const Parameter *>> either = {};
};

/// In the order in which help lists them.
const std::vector<Command> &commands();

/// Those that every command takes.
const std::vector<const Parameter *> &common_parameters();

/// Parses and runs one command.
/// @param given  what every command of this process was given
/// @throws Failure, and what the libraries below throw
Exit run_command(const std::vector<std::string> &words, const Arguments &given);

/// Runs the tool on its command line.
Exit run_tool(const std::vector<std::string> &words);

/// Says on standard error that something went wrong.
/// @param place  the tool, or the place in a script
void report(std::string_view place, std::string_view what, bool json);

/// Runs what may fail, and reports it if it does.
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

} // namespace l2vpn::tool
