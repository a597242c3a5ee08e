// SPDX-License-Identifier: MIT
// The example file is valid and consistent.

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "records/field_value.h"
#include "records/record_reader.h"

namespace l2vpn::test {
namespace {

using records::InputRecord;

/// The file's records by table.
class ExampleFile : public testing::Test, protected records::RecordSink {
protected:
    void SetUp() override {
        records::InputFile file(path);
        read_records(file, "", *this);
    }
    void record(const InputRecord &record) override {
        tables[record.table->name].push_back(record);
    }
    void report(const records::Diagnostic &diagnostic) override {
        ADD_FAILURE() << path << ":" << diagnostic.line << ": " << diagnostic.text();
    }

    static std::string value(const char *field, const InputRecord &record) {
        return records::field_text(*record.table->field(field), record.bytes.data());
    }

    const std::string path = L2VPN_EXAMPLE_FILE;
    std::map<std::string, std::vector<InputRecord>> tables;
};

TEST_F(ExampleFile, PrimaryKeysAreDistinct) {
    for (const auto &[table, table_records] : tables) {
        std::set<records::Bytes> keys;
        for (const InputRecord &record : table_records) {
            EXPECT_TRUE(keys.insert(key_of(record.table->primary_key(), record.bytes)).second)
                << path << ":" << record.line;
        }
    }
    EXPECT_FALSE(tables.empty());
}

/// A foreign key: each record of `from` refers to a record of `to`, unless its `unless_zero` field
/// is 0.
struct Reference {
    const char *from;
    std::vector<const char *> from_fields;
    const char *to;
    std::vector<const char *> to_fields;
    const char *unless_zero = nullptr;
};

TEST_F(ExampleFile, ReferencesAreValid) {
    const std::vector<Reference> references = {
        {"l2vpn_vpls_inst", {"vrIndex"}, "l2vpn_glb_en", {"vrIndex"}},
        {"l2vpn_vll_inst", {"vrIndex"}, "l2vpn_glb_en", {"vrIndex"}},
        {"l2vpn_vpls_inst",
         {"vrIndex", "instanceId", "encapType", "macLearnStyle", "macAgeTime", "state"},
         "l2vpn_vpls_inst_info",
         {"vrIndex", "instanceId", "encapType", "macLearnStyle", "macAgeTime", "state"}},
        {"l2vpn_vpls_inst_info",
         {"vrIndex", "instanceId"},
         "l2vpn_vpls_inst",
         {"vrIndex", "instanceId"}},
        {"l2vpn_vpls_inst", {"vrIndex", "instanceId"}, "l2vpn_vpls_exp", {"vrIndex", "instanceId"}},
        {"l2vpn_vpls_exp", {"vrIndex", "instanceId"}, "l2vpn_vpls_inst", {"vrIndex", "instanceId"}},
        {"l2vpn_vpls_ac",
         {"vrIndex", "instanceId", "encapType"},
         "l2vpn_vpls_inst",
         {"vrIndex", "instanceId", "encapType"}},
        {"l2vpn_vpls_ac",
         {"mainIfIndex", "vrIndex", "instanceId", "sharePeVlan", "shareType"},
         "l2vpn_vpls_ac_share",
         {"ifIndex", "vrIndex", "instanceId", "peVlan", "shareType"},
         "shareType"},
        {"l2vpn_vpls_ac_share",
         {"vrIndex", "instanceId", "encapType"},
         "l2vpn_vpls_inst",
         {"vrIndex", "instanceId", "encapType"}},
        {"l2vpn_vpls_ac_sub",
         {"vrIndex", "instanceId", "encapType"},
         "l2vpn_vpls_inst",
         {"vrIndex", "instanceId", "encapType"}},
        {"l2vpn_vpls_ac_sub",
         {"srcIfIndex", "vrIndex", "instanceId", "sharePeVlan", "shareType"},
         "l2vpn_vpls_ac_share",
         {"ifIndex", "vrIndex", "instanceId", "peVlan", "shareType"},
         "shareType"},
        {"l2vpn_vpls_pw",
         {"vrIndex", "instanceId", "encapType"},
         "l2vpn_vpls_inst",
         {"vrIndex", "instanceId", "encapType"}},
        {"l2vpn_vpls_pw",
         {"vrIndex", "instanceId", "bakPwTunnelId"},
         "l2vpn_vpls_pw",
         {"vrIndex", "instanceId", "pwTunnelId"},
         "bakPwTunnelId"},
        {"l2vpn_vpls_pw",
         {"vrIndex", "instanceId", "groupId", "pwTunnelId", "bakPwTunnelId"},
         "l2vpn_vpls_pwred_pg",
         {"vrIndex", "instanceId", "pgId", "pwTunnelId", "bakPwTunnelId"},
         "bakPwTunnelId"},
        {"l2vpn_vpls_pw",
         {"vrIndex", "l2vpnIid", "fwdTunnelId", "fwdTunnelType"},
         "l2vpn_extnhp",
         {"vrIndex", "l2vpnIid", "tunnelId", "tunnelType"}},
        {"l2vpn_vll_pw", {"vrIndex", "l2vpnIid"}, "l2vpn_extnhp", {"vrIndex", "l2vpnIid"}},
        {"l2vpn_vpls_pwred_pg",
         {"vrIndex", "instanceId", "pgId", "pwTunnelId", "bakPwTunnelId"},
         "l2vpn_vpls_pw",
         {"vrIndex", "instanceId", "groupId", "pwTunnelId", "bakPwTunnelId"}},
        {"l2vpn_vpls_pwred_pg",
         {"vrIndex", "instanceId", "pgId", "bakPwTunnelId"},
         "l2vpn_vpls_pw",
         {"vrIndex", "instanceId", "groupId", "pwTunnelId"}},
        {"l2vpn_sub_pw",
         {"vrIndex", "pwTunnelId", "pwTunnelType"},
         "l2vpn_vpls_pw",
         {"vrIndex", "pwTunnelId", "pwTunnelType"}},
        {"l2vpn_pw_pmo",
         {"vrIndex", "pwTunnelId", "pwTunnelType", "instanceId"},
         "l2vpn_vpls_pw",
         {"vrIndex", "pwTunnelId", "pwTunnelType", "instanceId"}},
        {"l2vpn_vpls_vsimac",
         {"vrIndex", "instanceId"},
         "l2vpn_vpls_inst",
         {"vrIndex", "instanceId"}},
        {"l2vpn_vpls_vsimac",
         {"vrIndex", "instanceId", "peerIp", "pwId"},
         "l2vpn_vpls_pw",
         {"vrIndex", "instanceId", "peerIp", "vcId"},
         "isPwIdConfig"},
        {"l2vpn_oam_staticmac",
         {"vrIndex", "instanceId"},
         "l2vpn_vpls_inst",
         {"vrIndex", "instanceId"}},
        {"l2vpn_oam_staticmac",
         {"vrIndex", "instanceId", "pwTunnelId", "pwTunnelType"},
         "l2vpn_vpls_pw",
         {"vrIndex", "instanceId", "pwTunnelId", "pwTunnelType"},
         "pwTunnelId"},
        {"l2vpn_oam_staticmac",
         {"vrIndex", "instanceId", "outIfIndex"},
         "l2vpn_vpls_ac",
         {"vrIndex", "instanceId", "ifIndex"},
         "outIfIndex"},
        {"l2vpn_stp",
         {"vrIndex", "vplsSubIf", "ifIndex"},
         "l2vpn_vpls_ac",
         {"vrIndex", "ifIndex", "mainIfIndex"}},
        {"l2vpn_ifvlan",
         {"vrIndex", "ifIndex", "vlanId"},
         "l2vpn_vpls_ac",
         {"vrIndex", "ifIndex", "peVlan"}},
        {"l2vpn_vll_ac", {"vrIndex", "instanceId"}, "l2vpn_vll_inst", {"vrIndex", "instanceId"}},
        {"l2vpn_vll_pw", {"vrIndex", "instanceId"}, "l2vpn_vll_inst", {"vrIndex", "instanceId"}},
        {"l2vpn_vllexp", {"vrId", "ifIndex"}, "l2vpn_vll_ac", {"vrIndex", "ifIndex"}},
        {"l2vpn_vll_ac", {"ifIndex"}, "l2vpn_vllexp", {"ifIndex"}},
        {"l2vpn_vpls_ac_macdraw", {"vrIndex", "ifIndex"}, "l2vpn_vpls_ac", {"vrIndex", "ifIndex"}},
        {"l2vpn_vpls_pw_macdraw",
         {"vrIndex", "pwTunnelId", "pwTunnelType", "instanceId"},
         "l2vpn_vpls_pw",
         {"vrIndex", "pwTunnelId", "pwTunnelType", "instanceId"}},
        {"l2vpn_vpls_inst_macdraw",
         {"vrIndex", "instanceId"},
         "l2vpn_vpls_inst",
         {"vrIndex", "instanceId"}},
        {"l2vpn_vpls_macping", {"vrId", "vsiInstId"}, "l2vpn_vpls_inst", {"vrIndex", "instanceId"}},
        {"l2vpn_vpls_macpingup",
         {"vrId", "vsiInstId", "userVlanId", "macAddr"},
         "l2vpn_vpls_macping",
         {"vrId", "vsiInstId", "userVlanId", "macAddr"}},
        {"l2vpn_vpls_macpingup",
         {"vrId", "vsiInstId", "userVlanId", "macAddr"},
         "l2vpn_vpls_vsimac",
         {"vrIndex", "instanceId", "vlanId", "macAddr"}},
        {"l2vpn_vpls_macpingup",
         {"vrId", "tnlId", "tnlType"},
         "l2vpn_extnhp",
         {"vrIndex", "tunnelId", "tunnelType"},
         "tnlId"},
        {"l2vpn_vpls_macpingup",
         {"vrId", "vsiInstId", "ifIndex"},
         "l2vpn_vpls_ac",
         {"vrIndex", "instanceId", "ifIndex"},
         "ifIndex"},
    };
    const auto values = [](const std::vector<const char *> &fields, const InputRecord &record) {
        std::vector<std::string> texts(fields.size());
        std::ranges::transform(fields, texts.begin(),
                               [&](const char *field) { return value(field, record); });
        return texts;
    };
    for (const auto &[from, from_fields, to, to_fields, unless_zero] : references) {
        std::set<std::vector<std::string>> existing;
        for (const InputRecord &record : tables[to]) {
            existing.insert(values(to_fields, record));
        }
        std::size_t followed = 0;
        for (const InputRecord &record : tables[from]) {
            if (unless_zero == nullptr || value(unless_zero, record) != "0") {
                EXPECT_TRUE(existing.contains(values(from_fields, record)))
                    << path << ":" << record.line << ": " << from << " refers to no record of "
                    << to;
                ++followed;
            }
        }
        EXPECT_GT(followed, 0U) << from << " never refers to a record of " << to;
    }
}

TEST_F(ExampleFile, PseudowiresShareNoLabelsOrIndexes) {
    for (const char *field : {"l2vpnIid", "inVcLabel", "pwTunnelId"}) {
        std::set<std::string> seen;
        for (const char *table : {"l2vpn_vpls_pw", "l2vpn_vll_pw"}) {
            for (const InputRecord &record : tables[table]) {
                EXPECT_TRUE(seen.insert(value(field, record)).second)
                    << field << " " << value(field, record) << ", line " << record.line;
            }
        }
    }
}

} // namespace
} // namespace l2vpn::test
