// SPDX-License-Identifier: MIT
// Test suites parameterised by table.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/facts.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {

// Called by GoogleTest to print a parameter.
inline void PrintTo(const TypedTable *table, std::ostream *out) {
    *out << table->name;
}
inline void PrintTo(const SchemaTable *table, std::ostream *out) {
    *out << table->name;
}

/// The tables whose facts satisfy the predicate.
template <class Table, class Predicate>
std::vector<const Table *> tables_with(const std::vector<Table> &tables, Predicate predicate) {
    std::vector<const Table *> chosen;
    for (const Table &table : tables) {
        if (predicate(facts(table.name))) {
            chosen.push_back(&table);
        }
    }
    return chosen;
}

inline bool any_table(const Facts &) {
    return true;
}
inline bool is_updatable(const Facts &table) {
    return table.find("batchVersion") != nullptr;
}
inline bool has_null_tests(const Facts &table) {
    return !table.no_null_tests;
}
inline bool splits_svc_fields(const Facts &table) {
    return table.svc_fields_split;
}
inline bool lacks_null_tests(const Facts &table) {
    return table.no_null_tests;
}

template <class Table>
std::string name_of_parameter(const testing::TestParamInfo<const Table *> &info) {
    return info.param->name;
}

} // namespace l2vpn::test

// Instantiate a suite for the tables whose facts satisfy the predicate.
#define L2VPN_TEST_TYPED_TABLES(suite, predicate)                                                  \
    INSTANTIATE_TEST_SUITE_P(                                                                      \
        Tables, suite,                                                                             \
        testing::ValuesIn(l2vpn::test::tables_with(l2vpn::test::typed_tables, predicate)),         \
        l2vpn::test::name_of_parameter<l2vpn::test::TypedTable>)

#define L2VPN_TEST_TABLES(suite, predicate)                                                        \
    INSTANTIATE_TEST_SUITE_P(                                                                      \
        Tables, suite,                                                                             \
        testing::ValuesIn(l2vpn::test::tables_with(l2vpn::test::schema_tables, predicate)),        \
        l2vpn::test::name_of_parameter<l2vpn::test::SchemaTable>)
