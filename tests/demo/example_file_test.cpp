// SPDX-License-Identifier: MIT
// The example file is right, complete, and consistent in itself.
#include "loader_test.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "records/field_value.h"

namespace l2vpn::test {
namespace {

using demo::Record;
using demo::TableRecords;

class ExampleFile : public LoaderTest {
protected:
    const TableRecords &records_of(std::string_view table) const {
        return *std::ranges::find_if(
            file.tables, [&](const TableRecords &found) { return found.table.name == table; });
    }

    const demo::RecordFile file = demo::read_record_file(L2VPN_EXAMPLE_FILE);
};

TEST_F(ExampleFile, HasRecordsOfEveryTypedTableAndIsStoredWhole) {
    ASSERT_EQ(file.errors, std::vector<std::string>{});
    ASSERT_EQ(file.tables.size(), typed_tables.size());
    ASSERT_EQ(demo::store_records(file), std::nullopt);
    for (const auto &[table, stored] : stored_counts()) {
        EXPECT_GT(records_of(table).records.size(), 0U) << table;
        EXPECT_EQ(stored, records_of(table).records.size()) << table;
    }
}

TEST_F(ExampleFile, IsOfAPlausibleSize) {
    std::size_t records = 0;
    for (const TableRecords &table : file.tables) {
        records += table.records.size();
    }
    EXPECT_GE(records, 150U);
    EXPECT_LE(records, 300U);
}

/// Records of one table that name a record of another. A record whose `unless_zero` field is 0
/// names none.
struct Reference {
    const char *from;
    std::vector<const char *> from_fields;
    const char *to;
    std::vector<const char *> to_fields;
    const char *unless_zero = nullptr;
};

TEST_F(ExampleFile, RecordsThatNameOthersNameExistingOnes) {
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
    const auto value = [](const TableRecords &table, const char *field, const Record &record) {
        return records::field_text(*table.table.field(field), record.bytes.data());
    };
    const auto values = [&](const TableRecords &table, const std::vector<const char *> &fields,
                            const Record &record) {
        std::vector<std::string> texts(fields.size());
        std::ranges::transform(fields, texts.begin(),
                               [&](const char *field) { return value(table, field, record); });
        return texts;
    };
    for (const auto &[from, from_fields, to, to_fields, unless_zero] : references) {
        std::set<std::vector<std::string>> existing;
        for (const Record &record : records_of(to).records) {
            existing.insert(values(records_of(to), to_fields, record));
        }
        std::size_t followed = 0;
        for (const Record &record : records_of(from).records) {
            if (unless_zero == nullptr || value(records_of(from), unless_zero, record) != "0") {
                EXPECT_TRUE(existing.contains(values(records_of(from), from_fields, record)))
                    << file.path << ":" << record.line << ": " << from << " names no record of "
                    << to;
                ++followed;
            }
        }
        EXPECT_GT(followed, 0U) << from << " never names a record of " << to;
    }
}

TEST_F(ExampleFile, LabelsAndIndexesAreNotSharedBetweenPseudowires) {
    for (const char *field : {"l2vpnIid", "inVcLabel", "pwTunnelId"}) {
        std::set<std::string> seen;
        for (const char *table : {"l2vpn_vpls_pw", "l2vpn_vll_pw"}) {
            const TableRecords &pseudowires = records_of(table);
            for (const Record &record : pseudowires.records) {
                const std::string text =
                    records::field_text(*pseudowires.table.field(field), record.bytes.data());
                EXPECT_TRUE(seen.insert(text).second)
                    << field << " " << text << ", line " << record.line;
            }
        }
    }
}

} // namespace
} // namespace l2vpn::test
