// SPDX-License-Identifier: MIT
#include "tool/load.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "records/record_loader.h"
#include "tool/command.h"
#include "tool/record_output.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

records::LoadResult load(const std::string &path, const Arguments &arguments) {
    Progress progress(records::input_name(path));
    return records::load(path,
                         {.csv_table = arguments.csv_table,
                          .merge = arguments.merge,
                          .keep_going = arguments.keep_going,
                          .progress = [&](std::size_t stored, const records::InputFile &file) {
                              progress.show(stored, file.position(), file.size());
                          }});
}

Exit exit_of(const records::LoadResult &loaded, bool keep_going) {
    if (!loaded.failure.empty()) {
        return exit_failed;
    }
    return loaded.diagnostics.count == 0 ? exit_done : keep_going ? exit_no : exit_bad_input;
}

void print_json(const std::string &path, const Arguments &arguments,
                const records::LoadResult &loaded) {
    Json kinds = Json::array(), messages = loaded.diagnostics.messages;
    if (!loaded.failure.empty()) {
        messages.push_back(loaded.failure);
    }
    for (const auto &[kind, times] : loaded.diagnostics.kinds) {
        kinds.push_back({{"what", kind}, {"times", times.times}, {"firstLine", times.first_line}});
    }
    const Json load = {{"file", path},
                       {"stored", loaded.stored},
                       {arguments.merge ? "merged" : "replaced", loaded.replaced},
                       {"tables", loaded.tables},
                       {"refused", loaded.diagnostics.count},
                       {"messages", messages},
                       {"kinds", kinds}};
    fmt::print("{}", json_line("load", load));
}

void print(const std::string &path, const Arguments &arguments, const records::LoadResult &loaded) {
    fmt::print("{}: {} stored in {}{}{}\n", path, records::counted(loaded.stored, "record"),
               records::counted(loaded.tables.size(), "table"),
               loaded.replaced == 0 ? ""
                                    : fmt::format(", {} of them {}", loaded.replaced,
                                                  arguments.merge ? "merged" : "replaced"),
               loaded.diagnostics.count == 0
                   ? ""
                   : fmt::format(", {}", records::counted(loaded.diagnostics.count, "error")));
}

} // namespace

void load_before(const std::string &path) {
    const records::LoadResult loaded = load(path, Arguments{});
    if (const Exit code = exit_of(loaded, false); code != exit_done) {
        throw Failure(code, "nothing is loaded:\n" + loaded.errors());
    }
}

Exit run_load(const Arguments &arguments) {
    Exit worst = exit_done;
    for (const std::string &path : arguments.files) {
        const records::LoadResult loaded = load(path, arguments);
        if (arguments.json) {
            print_json(path, arguments, loaded);
        } else {
            if (const std::string text = loaded.errors(); !text.empty()) {
                (void)std::fflush(stdout);
                write_error(text + "\n");
            }
            print(path, arguments, loaded);
        }
        worst = std::max(worst, exit_of(loaded, arguments.keep_going));
    }
    return worst;
}

} // namespace l2vpn::tool
