// SPDX-License-Identifier: MIT
// A file of records, and a look at the store before and after.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "examples/record_file.h"
#include "records/table_schema.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {

/// The number of records in every table.
inline std::map<std::string, std::uint32_t> stored_counts() {
    std::map<std::string, std::uint32_t> counts;
    for (const TypedTable &table : typed_tables) {
        EXPECT_EQ(table.count(&counts[table.name]), L2VPN_DB_OK) << table.name;
    }
    return counts;
}

inline void clear_store() {
    for (const TypedTable &table : typed_tables) {
        std::vector<std::byte> record(table.record_size);
        L2vpnDbIter *const iter = table.create_iter(0, nullptr);
        while (table.get_next(iter, record.data()) == L2VPN_DB_OK) {
            EXPECT_EQ(table.remove(record.data()), L2VPN_DB_OK) << table.name;
        }
        EXPECT_EQ(table.release_iter(iter), L2VPN_DB_OK) << table.name;
    }
}

/// Begins with an empty store.
class LoaderTest : public testing::Test {
protected:
    void SetUp() override { clear_store(); }
    void TearDown() override { std::filesystem::remove(path); }

    demo::RecordFile read(const std::string &text) const {
        std::ofstream(path, std::ios::binary) << text;
        return demo::read_record_file(path);
    }

    /// Reads the text as the demo does and expects exactly these errors, each without the path in
    /// front, and a store that is as it was.
    void expect_refused(const std::string &text, const std::vector<std::string> &errors) const {
        const auto before = stored_counts();
        const demo::RecordFile file = read(text);
        std::vector<std::string> with_path = errors;
        for (std::string &error : with_path) {
            error.insert(0, path);
        }
        EXPECT_EQ(file.errors, with_path) << text;
        EXPECT_TRUE(file.tables.empty());
        EXPECT_EQ(demo::store_records(file), std::nullopt);
        EXPECT_EQ(stored_counts(), before);
    }

    /// A file that is right up to its last line, which is the given one, line 3.
    void expect_line_refused(const std::string &line, const std::string &error) const {
        expect_refused("{\"l2vpn_vpls_inst\": [{\"vrIndex\": 1, \"instanceId\": 100}],\n"
                       " \"l2vpn_vll_inst\": [{\"vrIndex\": 1, \"instanceId\": 500}],\n" +
                           line + "}\n",
                       {":3: " + error});
    }

    const std::string path =
        testing::TempDir() + "record_file_" + std::to_string(getpid()) + ".json";
};

} // namespace l2vpn::test
