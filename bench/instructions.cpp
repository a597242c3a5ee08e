// SPDX-License-Identifier: MIT
// Runs the operations of one table for counting.
#include <vector>

#include "bench/counting.h"
#include "bench/sample_records.h"
#include "l2vpn_db/platform.h"

int main(int argument_count, char **arguments) {
    using namespace l2vpn::bench;
    const std::uint32_t table_size = end_of_loop(argument_count, arguments);
    const auto count = [table_size](const char *name, auto operation) {
        l2vpn::bench::count(name, table_size, operation);
    };
    std::vector<L2vpnVplsPw> records;
    for (std::uint32_t i = 0; i < table_size; ++i)
        records.push_back(pseudowire(i));
    L2vpnVplsPw found{};
    L2vpnDbIter *iter = nullptr;
    std::uint32_t number = 0;
    const std::uint32_t batch_version = L2VPN_VPLS_PW_FIELD_batchVersion;
    const L2vpnDalIntf dal = L2VPN_DB_L2vpnVplsPwDalIntf();
    const auto length = static_cast<std::uint32_t>(sizeof(L2vpnVplsPw));
    char text[2048];
    char stored[stored_length];

    print_addresses();
    count("set all fields", [&](auto i) { L2VPN_DB_L2vpnVplsPwSetAllFields(&records[i], stored); });
    count("get all fields", [&](auto) { L2VPN_DB_L2vpnVplsPwGetAllFields(stored, &found); });
    count("write, new", [&](auto i) { L2VPN_DB_L2vpnVplsPwWrite(&records[i]); });
    count("write, same keys", [&](auto i) { L2VPN_DB_L2vpnVplsPwWrite(&records[i]); });
    for (L2vpnVplsPw &record : records)
        record.srcPid += 3;
    count("write, one key changed", [&](auto i) { L2VPN_DB_L2vpnVplsPwWrite(&records[i]); });
    count("read", [&](auto i) {
        found = records[i];
        L2VPN_DB_L2vpnVplsPwRead(&found);
    });
    std::uint32_t id[4] = {};
    char key[9] = {};
    L2vpnDbKeyData request{};
    count("set primary key",
          [&](auto i) { L2VPN_DB_L2vpnVplsPwSetPrimaryKey(&records[i], &request, id, key); });
    count("read by key", [&](auto) { L2VPN_DB_L2vpnVplsPwReadByKey(&found, &request); });
    L2vpnDbRecData place{stored, stored_length, 0};
    std::vector<PrimaryKey> keys;
    for (std::uint32_t i = 0; i < table_size; ++i)
        keys.push_back(primary_key(i));
    count("DAL_VELD_Read", [&](auto i) {
        request.key = keys[i].bytes;
        DAL_VELD_Read(&g_l2vpnDbModuleIntf, &g_l2vpnL2vpnVplsPwIntf, &request, &place);
    });
    count("update of a field",
          [&](auto i) { L2VPN_DB_L2vpnVplsPwUpdateFields(&records[i], &batch_version, 1); });
    count("count", [&](auto) { L2VPN_DB_L2vpnVplsPwCount(&number); });
    count("count by key",
          [&](auto i) { L2VPN_DB_L2vpnVplsPwCountByInstanceKey(&records[i], &number); });
    count("count by key index", [&](auto i) {
        L2VPN_DB_L2vpnVplsPwCountByKey(L2VPN_VPLS_PW_KEY_instance_key, &records[i], &number);
    });
    count("iterator over a key, and release", [&](auto i) {
        iter = L2VPN_DB_L2vpnVplsPwCreateInstanceIter(&records[i]);
        L2VPN_DB_L2vpnVplsPwReleaseIter(iter);
    });
    count("fast iterator, and release", [&](auto i) {
        iter = L2VPN_DB_L2vpnVplsPwCreateFastPriIter(&records[i]);
        L2VPN_DB_L2vpnVplsPwReleaseIter(iter);
    });
    iter = L2VPN_DB_L2vpnVplsPwCreateIter(L2VPN_VPLS_PW_KEY_primary_key, nullptr);
    count("get next", [&](auto) { L2VPN_DB_L2vpnVplsPwGetNext(iter, &found); });
    L2VPN_DB_L2vpnVplsPwReleaseIter(iter);
    count("format", [&](auto i) {
        L2VPN_AST_L2vpnVplsPwFormat(L2VPN_AST_WHOLE_RECORD, &records[i], text, sizeof text, ", ");
    });
    count("generic write", [&](auto i) { dal.write(&records[i], length); });
    count("generic read", [&](auto i) {
        found = records[i];
        dal.read(&found, length);
    });
    count("generic update", [&](auto i) { dal.update(&records[i], length, &batch_version, 1); });
    count("generic count by key", [&](auto i) {
        dal.countByKey(L2VPN_VPLS_PW_KEY_instance_key, &records[i], length, &number);
    });
    count("generic iterator over a key, and release", [&](auto i) {
        iter = dal.createIter(L2VPN_VPLS_PW_KEY_instance_key, &records[i], length);
        dal.releaseIter(iter);
    });
    iter = dal.createIter(L2VPN_VPLS_PW_KEY_primary_key, nullptr, length);
    count("generic get next", [&](auto) { dal.getNext(iter, &found, length); });
    dal.releaseIter(iter);
    count("delete", [&](auto i) { L2VPN_DB_L2vpnVplsPwDelete(&records[i]); });
    for (const L2vpnVplsPw &record : records)
        L2VPN_DB_L2vpnVplsPwWrite(&record);
    count("generic delete", [&](auto i) { dal.remove(&records[i], length); });
}
