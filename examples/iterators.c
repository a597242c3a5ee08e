/* SPDX-License-Identifier: MIT */
/*
 * Iterators while the table changes: docs/iterators.md explains the rules that this program shows.
 */
#include <stdio.h>
#include <stdlib.h>

#include <l2vpn_db/l2vpn_vpls_pw.h>
#include <l2vpn_db/memory_store.h>

enum { INSTANCE = 100, OTHER_INSTANCE = 200 };

static void check(uint32_t result, const char *operation) {
    if (result != L2VPN_DB_OK) {
        fprintf(stderr, "iterators: %s: %s\n", operation, l2vpn_store_result_text(result));
        exit(EXIT_FAILURE);
    }
}

static void write_pw(uint32_t tunnel, uint32_t instance, uint16_t mtu) {
    const L2vpnVplsPw pw = {
        .vrIndex = 1, .pwTunnelId = tunnel, .pwTunnelType = 3, .mtu = mtu, .instanceId = instance};
    check(L2VPN_DB_L2vpnVplsPwWrite(&pw), "write");
}

static void delete_pw(uint32_t tunnel) {
    const L2vpnVplsPw key = {.vrIndex = 1, .pwTunnelId = tunnel, .pwTunnelType = 3};
    check(L2VPN_DB_L2vpnVplsPwDelete(&key), "delete");
}

/* Delivers the remaining records, prints them and releases the iterator. */
static void print_rest(const char *title, L2vpnDbIter *iter) {
    L2vpnVplsPw pw;
    uint32_t result;
    printf("%s:", title);
    while ((result = L2VPN_DB_L2vpnVplsPwGetNext(iter, &pw)) == L2VPN_DB_OK)
        printf(" %u (mtu %u)", pw.pwTunnelId, pw.mtu);
    puts("");
    if (result != L2VPN_STORE_END)
        check(result, "next");
    check(L2VPN_DB_L2vpnVplsPwReleaseIter(iter), "release");
}

int main(void) {
    const L2vpnVplsPw wanted = {.instanceId = INSTANCE};
    for (uint32_t tunnel = 1; tunnel <= 6; ++tunnel)
        write_pw(tunnel, INSTANCE, 1500);

    /* Changes between the creation of an iterator and its first GetNext */
    L2vpnDbIter *iter = L2VPN_DB_L2vpnVplsPwCreateInstanceIter(&wanted);
    delete_pw(1);                      /* deleted: not delivered */
    delete_pw(2);                      /* deleted, then inserted again: not delivered either */
    write_pw(2, INSTANCE, 1500);       /* (a new iterator delivers it) */
    write_pw(3, OTHER_INSTANCE, 1500); /* key changed: not delivered */
    write_pw(4, INSTANCE, 9000);       /* replaced: delivered once, with its new contents */
    write_pw(7, INSTANCE, 1500);       /* inserted: not delivered */
    print_rest("iterator opened before", iter);
    print_rest("iterator opened after", L2VPN_DB_L2vpnVplsPwCreateInstanceIter(&wanted));

    /* Deleting each record as it is delivered */
    L2vpnVplsPw pw;
    uint32_t result;
    iter = L2VPN_DB_L2vpnVplsPwCreateInstanceIter(&wanted);
    while ((result = L2VPN_DB_L2vpnVplsPwGetNext(iter, &pw)) == L2VPN_DB_OK)
        check(L2VPN_DB_L2vpnVplsPwDelete(&pw), "delete");
    if (result != L2VPN_STORE_END)
        check(result, "next");
    check(L2VPN_DB_L2vpnVplsPwReleaseIter(iter), "release");
    print_rest("after the sweep", L2VPN_DB_L2vpnVplsPwCreateInstanceIter(&wanted));

    /* The fast iterator over a full primary key: one record, then L2VPN_DB_NO_MORE */
    const L2vpnVplsPw key = {.vrIndex = 1, .pwTunnelId = 3, .pwTunnelType = 3};
    iter = L2VPN_DB_L2vpnVplsPwCreateFastPriIter(&key);
    check(L2VPN_DB_L2vpnVplsPwGetNext(iter, &pw), "next");
    if (L2VPN_DB_L2vpnVplsPwGetNext(iter, &pw) != L2VPN_DB_NO_MORE)
        return EXIT_FAILURE;
    check(L2VPN_DB_L2vpnVplsPwReleaseIter(iter), "release");
    printf("fast iterator: %u (instance %u)\n", pw.pwTunnelId, pw.instanceId);
    return EXIT_SUCCESS;
}
