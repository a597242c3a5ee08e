// SPDX-License-Identifier: MIT
// Runs the operations common to all tables for counting.
#include <array>

#include "bench/counting.h"
#include "tests/support/table_list.h"

int main(int argument_count, char **arguments) {
    using namespace l2vpn::bench;
    constexpr std::size_t largest_record = 8192; // the catalog's limit
    alignas(8) std::array<char, largest_record> record{};
    alignas(8) std::array<char, largest_record> stored{};
    std::array<std::uint32_t, 4> key_id{};
    std::array<char, largest_record> key{};
    std::array<char, 4096> text{};
    L2vpnDbKeyData request{};
    const std::uint32_t end = end_of_loop(argument_count, arguments);

    print_addresses();
    for (const l2vpn::test::TypedTable &table : l2vpn::test::typed_tables) {
        if (table.record_size > largest_record)
            return 1;
        const auto one = [&](const char *name, auto operation) {
            count(table.name + ": " + name, end, operation);
        };
        one("set all fields", [&](auto) { table.set_all_fields(record.data(), stored.data()); });
        one("get all fields", [&](auto) { table.get_all_fields(stored.data(), record.data()); });
        one("set primary key",
            [&](auto) { table.keys[0].set(record.data(), &request, key_id.data(), key.data()); });
        one("write", [&](auto) { table.write(record.data()); });
        one("read", [&](auto) { table.read(record.data()); });
    }
    for (const l2vpn::test::SchemaTable &table : l2vpn::test::schema_tables) {
        if (table.record_size > largest_record)
            return 1;
        count(table.name + ": format", end, [&](auto) {
            table.format(L2VPN_AST_WHOLE_RECORD, record.data(), text.data(), text.size(), ", ");
        });
    }
}
