// SPDX-License-Identifier: MIT
// Fixture: loads a record file into an empty store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "records/record_loader.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {

using Record = std::vector<std::byte>;

/// All records of every table, in the store's order.
inline std::map<std::string, std::vector<Record>> store_contents() {
    std::map<std::string, std::vector<Record>> contents;
    for (const TypedTable &table : typed_tables) {
        Record record(table.record_size);
        L2vpnDbIter *const iter = table.create_iter(0, nullptr);
        while (table.get_next(iter, record.data()) == L2VPN_DB_OK) {
            contents[table.name].push_back(record);
        }
        EXPECT_EQ(table.release_iter(iter), L2VPN_DB_OK) << table.name;
    }
    return contents;
}

inline void clear_store() {
    auto contents = store_contents();
    for (const TypedTable &table : typed_tables) {
        for (const Record &record : contents[table.name]) {
            EXPECT_EQ(table.remove(record.data()), L2VPN_DB_OK) << table.name;
        }
    }
}

/// Starts with an empty store.
class RecordFileTest : public testing::Test {
protected:
    void SetUp() override { clear_store(); }
    void TearDown() override { std::filesystem::remove(path); }

    records::LoadResult load(const std::string &text,
                             const records::LoadOptions &options = {}) const {
        std::ofstream(path, std::ios::binary) << text;
        return records::load(path, options);
    }

    void expect_loaded(const std::string &text, const records::LoadOptions &options = {}) const {
        EXPECT_EQ(load(text, options).errors(), "") << text;
    }

    /// Expects a load to store nothing and to report these diagnostics, given without the path.
    void expect_rejected(const std::string &text, const std::vector<std::string> &errors) const {
        const auto before = store_contents();
        const records::LoadResult loaded = load(text);
        std::vector<std::string> with_path = errors;
        for (std::string &error : with_path) {
            error.insert(0, path);
        }
        EXPECT_EQ(loaded.diagnostics.messages, with_path) << text;
        EXPECT_EQ(loaded.failure, "");
        EXPECT_EQ(loaded.stored + loaded.replaced + loaded.tables.size(), 0U);
        EXPECT_EQ(store_contents(), before);
    }

    /// The same for a file whose line 3 is invalid.
    void expect_line_rejected(const std::string &line, const std::string &error) const {
        expect_rejected("{\"l2vpn_vpls_inst\": [{\"vrIndex\": 1, \"instanceId\": 100}],\n"
                        " \"l2vpn_vll_inst\": [{\"vrIndex\": 1, \"instanceId\": 500}],\n" +
                            line + "}\n",
                        {":3: " + error});
    }

    const std::string path =
        testing::TempDir() + "record_file_" + std::to_string(getpid()) + ".json";
};

} // namespace l2vpn::test
