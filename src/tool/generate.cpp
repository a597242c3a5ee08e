// SPDX-License-Identifier: MIT
// Generates a sample network, as JSON Lines or into the tables.
#include <fmt/format.h>

#include "records/undo_log.h"
#include "tool/command.h"
#include "tool/record_output.h"
#include "tool/sample_network.h"
#include "tool/terminal.h"

namespace l2vpn::tool {

Exit run_generate(const Arguments &arguments) {
    const SampleNetwork network("--instances", arguments.instances, arguments.seed);
    const auto tables = stored_tables_named({});
    std::uint64_t total = 0, done = 0;
    for (const Table *const table : tables) {
        total += network.size(*table);
    }
    OutputFile output(arguments.output);
    Progress progress("generate");
    Arguments json = arguments;
    json.json = true;
    records::with_undo([&](records::UndoLog &log) {
        for (const Table *const table : tables) {
            const Records generated = [&](const Visitor &visit) {
                network.records_of(*table, UINT64_MAX, [&](const Bytes &record) {
                    ++done;
                    progress.show(done, done, total);
                    visit(record);
                });
            };
            if (arguments.store) {
                generated([&](const Bytes &record) {
                    bool replaced = false;
                    check(log.write(*table, record, replaced), table->name);
                });
            } else {
                write_records(*table, json, generated, output.file());
            }
        }
        return true;
    });
    output.finish();
    if (arguments.store) {
        arguments.json ? fmt::print("{}", json_line("generated", total))
                       : fmt::print("{} in {} are stored\n", records::counted(total, "record"),
                                    records::counted(tables.size(), "table"));
    }
    return exit_done;
}

} // namespace l2vpn::tool
