// SPDX-License-Identifier: MIT
#include "records/record_loader.h"

#include <new>
#include <utility>

#include <fmt/format.h>

#include "l2vpn_db/memory_store.h"
#include "records/field_value.h"
#include "records/interrupt.h"
#include "records/record_reader.h"
#include "records/undo_log.h"

namespace l2vpn::records {
namespace {

/// The record merged into the stored one, if any.
Bytes merged(const InputRecord &record) {
    Bytes stored = record.bytes;
    const auto length = static_cast<std::uint32_t>(stored.size());
    return record.table->access->read(stored.data(), length) == L2VPN_DB_OK
               ? record.merged_into(std::move(stored))
               : record.bytes;
}

class Loader final : public RecordSink {
public:
    Loader(const InputFile &file, const LoadOptions &options, UndoLog &log, LoadResult &result)
        : file_(file), options_(options), log_(log), result_(result) {}

    void record(const InputRecord &record) override {
        check_interrupt();
        if (options_.progress) {
            options_.progress(result_.stored, file_);
        }
        if (result_.diagnostics.count > 0 && !options_.keep_going) {
            return; // read on for diagnostics
        }
        const Table &table = *record.table;
        bool replaced = false;
        const std::uint32_t code =
            log_.write(table, options_.merge ? merged(record) : record.bytes, replaced);
        if (code == L2VPN_STORE_NO_MEMORY) {
            throw std::bad_alloc();
        }
        if (code != L2VPN_DB_OK) {
            const std::string problem = fmt::format("the store rejected it with {:#x}", code);
            return report({record.line,
                           fmt::format("{}, primary key {}", place_of(table.name),
                                       primary_key_text(table, record.bytes)),
                           problem, problem});
        }
        ++result_.stored;
        ++result_.tables[table.name];
        result_.replaced += replaced ? 1 : 0;
    }

    void report(const Diagnostic &diagnostic) override {
        result_.diagnostics.add(diagnostic, file_.name());
    }

private:
    const InputFile &file_;
    const LoadOptions &options_;
    UndoLog &log_;
    LoadResult &result_;
};

} // namespace

std::string LoadResult::errors() const {
    const std::string text = diagnostics.text();
    return text + (text.empty() || failure.empty() ? "" : "\n") + failure;
}

LoadResult load(const std::string &path, const LoadOptions &options) {
    LoadResult result;
    bool stored = false;
    try {
        with_undo([&](UndoLog &log) {
            InputFile file(path);
            Loader loader(file, options, log, result);
            read_records(file, options.csv_table, loader);
            return stored = result.diagnostics.count == 0 || options.keep_going;
        });
    } catch (const std::bad_alloc &) {
        result.failure = input_name(path) + ": out of memory";
    } catch (const UndoError &error) {
        result.failure = input_name(path) + ": " + error.what();
    } catch (const std::runtime_error &error) {
        result.failure = error.what();
    }
    if (!stored) {
        result.stored = result.replaced = 0;
        result.tables.clear();
    }
    return result;
}

} // namespace l2vpn::records
