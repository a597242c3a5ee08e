// SPDX-License-Identifier: MIT
//
// provisioning.c in C++: a service that keeps one VPLS instance in line with its configuration.
// Results become exceptions, iterators are released by RAII, and one template serves all tables.
// Records are value-initialised and their members assigned: with -Wextra, C++ compilers warn about
// members that a designated initialiser omits.
#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include <l2vpn_db/l2vpn_vpls_ac.h>
#include <l2vpn_db/l2vpn_vpls_inst.h>
#include <l2vpn_db/l2vpn_vpls_pw.h>
#include <l2vpn_db/memory_store.h>

namespace {

constexpr std::uint32_t vr = 1, ours = 301, instance_id = 100;

struct Interface {
    std::uint32_t index;
    std::uint16_t vlan;
};

struct Peer {
    std::string address;
    std::uint32_t in_label, out_label;
};

struct Configuration {
    std::string what;
    std::uint32_t batch;
    std::vector<Interface> interfaces;
    std::vector<Peer> peers;
};

void check(std::uint32_t result, const char *what) {
    if (result != L2VPN_DB_OK) {
        throw std::runtime_error(std::string(what) + ": result " + std::to_string(result));
    }
}

// ---- The functions of a table, for templates ----------------------------------------------------

struct Circuits {
    using Record = L2vpnVplsAc;
    static constexpr auto get_next = L2VPN_DB_L2vpnVplsAcGetNext;
    static constexpr auto release = L2VPN_DB_L2vpnVplsAcReleaseIter;
    static constexpr auto remove = L2VPN_DB_L2vpnVplsAcDelete;
    static constexpr auto by_source = L2VPN_DB_L2vpnVplsAcCreateSmoothHashIter;
};

struct Pseudowires {
    using Record = L2vpnVplsPw;
    static constexpr auto get_next = L2VPN_DB_L2vpnVplsPwGetNext;
    static constexpr auto release = L2VPN_DB_L2vpnVplsPwReleaseIter;
    static constexpr auto remove = L2VPN_DB_L2vpnVplsPwDelete;
    static constexpr auto by_source = L2VPN_DB_L2vpnVplsPwCreateSmoothHashIter;
};

/// Owns an iterator handle, which must be released exactly once.
template <class Table>
class Records {
public:
    explicit Records(L2vpnDbIter *handle) : handle_(handle) {
        if (handle == nullptr) {
            throw std::runtime_error("the store opens no iterator");
        }
    }
    Records(const Records &) = delete;
    Records &operator=(const Records &) = delete;
    ~Records() { Table::release(handle_); }

    /// @return false at the end
    bool next(typename Table::Record &record) {
        const std::uint32_t result = Table::get_next(handle_, &record);
        if (result == L2VPN_DB_NO_MORE || result == L2VPN_STORE_END) {
            return false;
        }
        check(result, "next record");
        return true;
    }

private:
    L2vpnDbIter *handle_;
};

/// Deletes our records of earlier batches.
template <class Table>
unsigned sweep(std::uint32_t batch) {
    typename Table::Record record{};
    record.vrIndex = vr;
    record.srcPid = ours;
    Records<Table> records(Table::by_source(&record));
    unsigned deleted = 0;
    while (records.next(record)) {
        if (record.batchVersion != batch) {
            check(Table::remove(&record), "deletion");
            ++deleted;
        }
    }
    return deleted;
}

// ---- Bringing the tables up to date -------------------------------------------------------------

void provision(const Interface &wanted, std::uint32_t batch) {
    L2vpnVplsAc circuit{};
    circuit.ifIndex = wanted.index;
    circuit.vrIndex = vr;
    circuit.instanceId = instance_id;
    circuit.peVlan = wanted.vlan;
    circuit.srcPid = ours;
    circuit.batchVersion = batch;
    check(L2VPN_DB_L2vpnVplsAcWrite(&circuit), "write of an attachment circuit");
}

void provision(const Peer &wanted, std::uint32_t batch) {
    in_addr address{};
    if (inet_pton(AF_INET, wanted.address.c_str(), &address) != 1) {
        throw std::runtime_error(wanted.address + " is not an address");
    }
    L2vpnVplsPw pw{};
    pw.vrIndex = vr;
    pw.pwTunnelId = ntohl(address.s_addr);
    pw.pwTunnelType = 1;
    const std::uint32_t found = L2VPN_DB_L2vpnVplsPwRead(&pw);
    if (found != L2VPN_STORE_NOT_FOUND) {
        check(found, "read of a pseudowire");
    }
    const bool same = pw.inVcLabel == wanted.in_label && pw.outVcLabel == wanted.out_label;
    pw.batchVersion = batch;
    if (found == L2VPN_DB_OK && same) {
        check(L2VPN_DB_L2vpnVplsPwUpdateField(&pw, L2VPN_VPLS_PW_FIELD_batchVersion),
              "update of a pseudowire");
        return;
    }
    pw.instanceId = instance_id;
    pw.peerIp = ntohl(address.s_addr);
    pw.inVcLabel = wanted.in_label;
    pw.outVcLabel = wanted.out_label;
    pw.srcPid = ours;
    check(L2VPN_DB_L2vpnVplsPwWrite(&pw), "write of a pseudowire");
}

L2vpnVplsInst instance() {
    L2vpnVplsInst record{};
    record.vrIndex = vr;
    record.instanceId = instance_id;
    return record;
}

void show() {
    L2vpnVplsPw pw{};
    pw.vrIndex = vr;
    pw.instanceId = instance_id;
    std::uint32_t count = 0;
    check(L2VPN_DB_L2vpnVplsPwCountByVrindexKey(&pw, &count), "count");
    std::printf("  %u pseudowires\n", count);
    Records<Pseudowires> pseudowires(L2VPN_DB_L2vpnVplsPwCreateVrindexIter(&pw));
    while (pseudowires.next(pw)) {
        const in_addr address{htonl(pw.peerIp)};
        char text[INET_ADDRSTRLEN];
        std::printf("    to %s, labels %u in, %u out, batch %u\n",
                    inet_ntop(AF_INET, &address, text, sizeof text), pw.inVcLabel, pw.outVcLabel,
                    pw.batchVersion);
    }

    L2vpnVplsAc circuit{};
    circuit.vrIndex = vr;
    circuit.instanceId = instance_id;
    check(L2VPN_DB_L2vpnVplsAcCountByInstanceKey(&circuit, &count), "count");
    std::printf("  %u attachment circuits\n", count);

    L2vpnVplsInst record = instance();
    check(L2VPN_DB_L2vpnVplsInstRead(&record), "read of the instance");
    char line[512];
    L2VPN_AST_L2vpnVplsInstFormat(L2VPN_AST_WHOLE_RECORD, &record, line, sizeof line, " ");
    std::printf("  %s\n", line);
}

void provision(const Configuration &wanted) {
    std::printf("%s\n", wanted.what.c_str());
    L2vpnVplsInst record = instance();
    record.macAgeTime = 300;
    record.srcPid = ours;
    record.batchVersion = wanted.batch;
    check(L2VPN_DB_L2vpnVplsInstWrite(&record), "write of the instance");
    for (const Interface &interface : wanted.interfaces) {
        provision(interface, wanted.batch);
    }
    for (const Peer &peer : wanted.peers) {
        provision(peer, wanted.batch);
    }
    const unsigned pseudowires = sweep<Pseudowires>(wanted.batch);
    const unsigned circuits = sweep<Circuits>(wanted.batch);
    std::printf("  swept: %u pseudowires, %u attachment circuits\n", pseudowires, circuits);
    show();
}

} // namespace

int main() {
    try {
        provision({"At first: two interfaces, three peers",
                   1,
                   {{4097, 10}, {4098, 10}},
                   {{"10.0.0.2", 1025, 2049}, {"10.0.0.3", 1026, 2050}, {"10.0.0.4", 1027, 2051}}});
        provision({"Later: one interface less, peer 10.0.0.3 gone, 10.0.0.4 with another label",
                   2,
                   {{4097, 10}},
                   {{"10.0.0.2", 1025, 2049}, {"10.0.0.4", 1027, 3051}}});
    } catch (const std::exception &failure) {
        (void)std::fprintf(stderr, "provisioning: %s\n", failure.what());
        return 1;
    }
}
