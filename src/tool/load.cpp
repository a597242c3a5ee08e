// SPDX-License-Identifier: MIT
#include "tool/load.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "records/undo_log.h"
#include "tool/command.h"
#include "tool/operands.h"
#include "tool/record_output.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

/// What came of a file.
struct Loaded {
    std::map<std::string, std::size_t> tables; ///< records that are stored
    std::size_t stored = 0, replaced = 0;
    records::Diagnostics refused;
    std::string failure; ///< of what else went wrong, as in reading the file
};

class Loader final : public records::RecordSink {
public:
    Loader(const records::InputFile &source, bool keep_going)
        : source_(source), keep_going_(keep_going), progress_(source.name()) {}

    void record(const Table &table, std::size_t line, const Bytes &record) override {
        progress_.show(loaded.stored, source_.position(), source_.size());
        if (loaded.refused.count > 0 && !keep_going_) {
            return; // what is still of interest is what else is wrong
        }
        bool replaced = false;
        const std::uint32_t result =
            keep_going_ ? write(table, record, replaced) : undo_log_.write(table, record, replaced);
        if (result != L2VPN_DB_OK) {
            const std::string problem = "the store refused the record: " + result_text(result);
            return report({line,
                           fmt::format("{}, primary key {}", records::place_of(table.name),
                                       primary_key_text(table, record)),
                           problem, problem});
        }
        ++loaded.stored;
        ++loaded.tables[table.name];
        loaded.replaced += replaced ? 1 : 0;
    }

    void report(const records::Diagnostic &diagnostic) override {
        loaded.refused.add(diagnostic, source_.name());
    }

    /// Takes everything back that was stored.
    void undo() {
        if (const std::size_t failed = undo_log_.undo(); failed > 0) {
            loaded.failure +=
                fmt::format("{}{}: {} could not be put back", loaded.failure.empty() ? "" : "\n",
                            source_.name(), records::counted(failed, "record"));
        }
        loaded.stored = loaded.replaced = 0;
        loaded.tables.clear();
    }

    Loaded loaded;

private:
    static std::uint32_t write(const Table &table, const Bytes &record, bool &replaced) {
        const auto length = static_cast<std::uint32_t>(record.size());
        Bytes before = record;
        replaced = table.access->read(before.data(), length) == L2VPN_DB_OK;
        return table.access->write(record.data(), length);
    }

    const records::InputFile &source_;
    bool keep_going_;
    records::UndoLog undo_log_;
    Progress progress_;
};

Loaded load(records::InputFile &source, const std::string &csv_table, bool keep_going) {
    Loader loader(source, keep_going);
    try {
        records::read_records(source, csv_table, loader);
    } catch (const records::FileError &error) {
        loader.loaded.failure = error.what();
    } catch (const std::bad_alloc &) {
        loader.loaded.failure = source.name() + ": there is not enough memory";
    } catch (const records::Interrupted &) {
        if (!keep_going) {
            loader.undo();
        }
        throw;
    }
    Loaded &loaded = loader.loaded;
    if ((loaded.refused.count > 0 || !loaded.failure.empty()) && !keep_going) {
        loader.undo();
    }
    return loaded;
}

Loaded load(const std::string &path, const std::string &csv_table, bool keep_going) {
    try {
        records::InputFile source(path);
        return load(source, csv_table, keep_going);
    } catch (const std::runtime_error &error) {
        Loaded nothing;
        nothing.failure = error.what();
        return nothing;
    }
}

/// Everything that is wrong, and the ways in which it is.
std::string complaint(const Loaded &loaded) {
    const std::string text = loaded.refused.text();
    return text + (text.empty() || loaded.failure.empty() ? "" : "\n") + loaded.failure;
}

Exit exit_of(const Loaded &loaded, bool keep_going) {
    if (!loaded.failure.empty()) {
        return exit_failed;
    }
    return loaded.refused.count == 0 ? exit_done : keep_going ? exit_no : exit_bad_input;
}

void print_json(const std::string &path, const Loaded &loaded) {
    Json kinds = Json::array(), messages = loaded.refused.messages;
    if (!loaded.failure.empty()) {
        messages.push_back(loaded.failure);
    }
    for (const auto &[kind, times] : loaded.refused.kinds) {
        kinds.push_back({{"what", kind}, {"times", times.times}, {"firstLine", times.first_line}});
    }
    const Json load = {{"file", path},
                       {"stored", loaded.stored},
                       {"replaced", loaded.replaced},
                       {"tables", loaded.tables},
                       {"refused", loaded.refused.count},
                       {"messages", messages},
                       {"kinds", kinds}};
    fmt::print("{}", json_line("load", load));
}

void print(const std::string &path, const Loaded &loaded) {
    fmt::print("{}: {} stored in {}{}{}\n", path, records::counted(loaded.stored, "record"),
               records::counted(loaded.tables.size(), "table"),
               loaded.replaced == 0 ? "" : fmt::format(", {} of them replaced", loaded.replaced),
               loaded.refused.count == 0
                   ? ""
                   : fmt::format(", {}", records::counted(loaded.refused.count, "error")));
}

} // namespace

void load_before(const std::string &path) {
    const Loaded loaded = load(path, "", false);
    if (const Exit code = exit_of(loaded, false); code != exit_done) {
        throw Failure(code, "nothing is loaded:\n" + complaint(loaded));
    }
}

Exit run_load(const Arguments &arguments) {
    Exit worst = exit_done;
    for (const std::string &path : arguments.files) {
        const Loaded loaded = load(path, arguments.csv_table, arguments.keep_going);
        if (arguments.json) {
            print_json(path, loaded);
        } else {
            if (const std::string text = complaint(loaded); !text.empty()) {
                (void)std::fflush(stdout);
                write_error(text + "\n");
            }
            print(path, loaded);
        }
        worst = std::max(worst, exit_of(loaded, arguments.keep_going));
    }
    return worst;
}

} // namespace l2vpn::tool
