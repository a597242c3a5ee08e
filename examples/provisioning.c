/* SPDX-License-Identifier: MIT */
/*
 * A service that keeps one VPLS instance in line with its configuration.
 *
 * Several processes write to the same tables. Each marks its records with its own srcPid and starts
 * a new batch for each configuration. Records that are still configured get the new batch version;
 * then those with an older one are stale and are deleted. The service keeps no list of its records:
 * after a restart it finds them by the key smooth_hash_key (vrIndex, srcPid).
 *
 * provisioning.cpp is the same in C++.
 */
#include <arpa/inet.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>

#include <l2vpn_db/l2vpn_vpls_ac.h>
#include <l2vpn_db/l2vpn_vpls_inst.h>
#include <l2vpn_db/l2vpn_vpls_pw.h>
#include <l2vpn_db/memory_store.h>

enum { VR = 1, OURS = 301, INSTANCE = 100, MOST = 4 };

/* The interfaces and peers of the instance. */
struct interface {
    uint32_t index;
    uint16_t vlan;
};
struct peer {
    const char *address;
    uint32_t in_label, out_label;
};
struct configuration {
    const char *what;
    uint32_t batch;
    size_t interfaces, peers;
    struct interface interface[MOST];
    struct peer peer[MOST];
};

static void check(uint32_t result, const char *what) {
    if (result != L2VPN_DB_OK) {
        fprintf(stderr, "provisioning: %s: result 0x%x\n", what, result);
        exit(EXIT_FAILURE);
    }
}

/* The fast iterator ends with L2VPN_DB_NO_MORE, the store's iterators with L2VPN_STORE_END. */
static bool more(uint32_t result, const char *what) {
    if (result == L2VPN_DB_NO_MORE || result == L2VPN_STORE_END)
        return false;
    check(result, what);
    return true;
}

/* ---- Writing what is configured ---- */

static void provision_instance(const struct configuration *wanted) {
    /* Fields without an initialiser are 0. */
    const L2vpnVplsInst instance = {.vrIndex = VR,
                                    .instanceId = INSTANCE,
                                    .macAgeTime = 300,
                                    .srcPid = OURS,
                                    .batchVersion = wanted->batch};
    check(L2VPN_DB_L2vpnVplsInstWrite(&instance), "write of the instance");
}

static void provision_interfaces(const struct configuration *wanted) {
    for (size_t i = 0; i < wanted->interfaces; ++i) {
        const L2vpnVplsAc circuit = {.ifIndex = wanted->interface[i].index,
                                     .vrIndex = VR,
                                     .instanceId = INSTANCE,
                                     .peVlan = wanted->interface[i].vlan,
                                     .srcPid = OURS,
                                     .batchVersion = wanted->batch};
        check(L2VPN_DB_L2vpnVplsAcWrite(&circuit), "write of an attachment circuit");
    }
}

static void provision_peer(const struct peer *wanted, uint32_t batch) {
    struct in_addr address;
    if (inet_pton(AF_INET, wanted->address, &address) != 1) {
        fprintf(stderr, "provisioning: %s is not an address\n", wanted->address);
        exit(EXIT_FAILURE);
    }
    /* Read uses only the primary key. The peer's address serves as tunnel id. */
    L2vpnVplsPw pw = {.vrIndex = VR, .pwTunnelId = ntohl(address.s_addr), .pwTunnelType = 1};
    const uint32_t found = L2VPN_DB_L2vpnVplsPwRead(&pw);
    if (found != L2VPN_STORE_NOT_FOUND)
        check(found, "read of a pseudowire");

    if (found == L2VPN_DB_OK && pw.inVcLabel == wanted->in_label &&
        pw.outVcLabel == wanted->out_label) {
        /* Unchanged. A partial update writes one field and keeps what others write to the rest. */
        pw.batchVersion = batch;
        check(L2VPN_DB_L2vpnVplsPwUpdateField(&pw, L2VPN_VPLS_PW_FIELD_batchVersion),
              "update of a pseudowire");
        return;
    }
    pw.instanceId = INSTANCE;
    pw.peerIp = ntohl(address.s_addr);
    pw.inVcLabel = wanted->in_label;
    pw.outVcLabel = wanted->out_label;
    pw.srcPid = OURS;
    pw.batchVersion = batch;
    check(L2VPN_DB_L2vpnVplsPwWrite(&pw), "write of a pseudowire");
}

/* ---- Deleting stale records ---- */

static unsigned sweep_pseudowires(uint32_t batch) {
    const L2vpnVplsPw ours = {.vrIndex = VR, .srcPid = OURS};
    L2vpnDbIter *iter = L2VPN_DB_L2vpnVplsPwCreateSmoothHashIter(&ours);
    L2vpnVplsPw pw;
    unsigned deleted = 0;
    while (more(L2VPN_DB_L2vpnVplsPwGetNext(iter, &pw), "next pseudowire")) {
        if (pw.batchVersion != batch) {
            check(L2VPN_DB_L2vpnVplsPwDelete(&pw), "deletion of a pseudowire");
            ++deleted;
        }
    }
    check(L2VPN_DB_L2vpnVplsPwReleaseIter(iter), "release"); /* also after an error of GetNext */
    return deleted;
}

static unsigned sweep_interfaces(uint32_t batch) {
    const L2vpnVplsAc ours = {.vrIndex = VR, .srcPid = OURS};
    L2vpnDbIter *iter = L2VPN_DB_L2vpnVplsAcCreateSmoothHashIter(&ours);
    L2vpnVplsAc circuit;
    unsigned deleted = 0;
    while (more(L2VPN_DB_L2vpnVplsAcGetNext(iter, &circuit), "next attachment circuit")) {
        if (circuit.batchVersion != batch) {
            check(L2VPN_DB_L2vpnVplsAcDelete(&circuit), "deletion of an attachment circuit");
            ++deleted;
        }
    }
    check(L2VPN_DB_L2vpnVplsAcReleaseIter(iter), "release");
    return deleted;
}

/* ---- Output ---- */

static void show(void) {
    const L2vpnVplsPw of_the_instance = {.vrIndex = VR, .instanceId = INSTANCE};
    uint32_t count;
    check(L2VPN_DB_L2vpnVplsPwCountByVrindexKey(&of_the_instance, &count), "count");
    printf("  %u pseudowires\n", count);

    L2vpnDbIter *iter = L2VPN_DB_L2vpnVplsPwCreateVrindexIter(&of_the_instance);
    L2vpnVplsPw pw;
    while (more(L2VPN_DB_L2vpnVplsPwGetNext(iter, &pw), "next pseudowire")) {
        const struct in_addr address = {htonl(pw.peerIp)};
        char text[INET_ADDRSTRLEN];
        printf("    to %s, labels %u in, %u out, batch %u\n",
               inet_ntop(AF_INET, &address, text, sizeof text), pw.inVcLabel, pw.outVcLabel,
               pw.batchVersion);
    }
    check(L2VPN_DB_L2vpnVplsPwReleaseIter(iter), "release");

    const L2vpnVplsAc attached = {.vrIndex = VR, .instanceId = INSTANCE};
    check(L2VPN_DB_L2vpnVplsAcCountByInstanceKey(&attached, &count), "count");
    printf("  %u attachment circuits\n", count);

    L2vpnVplsInst instance = {.vrIndex = VR, .instanceId = INSTANCE};
    check(L2VPN_DB_L2vpnVplsInstRead(&instance), "read of the instance");
    char line[512];
    L2VPN_AST_L2vpnVplsInstFormat(L2VPN_AST_WHOLE_RECORD, &instance, line, sizeof line, " ");
    printf("  %s\n", line);
}

static void provision(const struct configuration *wanted) {
    printf("%s\n", wanted->what);
    provision_instance(wanted);
    provision_interfaces(wanted);
    for (size_t i = 0; i < wanted->peers; ++i)
        provision_peer(&wanted->peer[i], wanted->batch);
    const unsigned pseudowires = sweep_pseudowires(wanted->batch);
    const unsigned interfaces = sweep_interfaces(wanted->batch);
    printf("  swept: %u pseudowires, %u attachment circuits\n", pseudowires, interfaces);
    show();
}

int main(void) {
    const struct configuration at_first = {
        .what = "At first: two interfaces, three peers",
        .batch = 1,
        .interfaces = 2,
        .interface = {{4097, 10}, {4098, 10}},
        .peers = 3,
        .peer = {{"10.0.0.2", 1025, 2049}, {"10.0.0.3", 1026, 2050}, {"10.0.0.4", 1027, 2051}}};
    const struct configuration later = {
        .what = "Later: one interface less, peer 10.0.0.3 gone, 10.0.0.4 with another label",
        .batch = 2,
        .interfaces = 1,
        .interface = {{4097, 10}},
        .peers = 2,
        .peer = {{"10.0.0.2", 1025, 2049}, {"10.0.0.4", 1027, 3051}}};
    provision(&at_first);
    provision(&later);
    return EXIT_SUCCESS;
}
