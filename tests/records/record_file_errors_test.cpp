// SPDX-License-Identifier: MIT
// Errors in record files: each gets a diagnostic, and nothing is stored.
#include "store_fixture.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "records/table_schema.h"

namespace l2vpn::test {
namespace {

using RecordFileErrors = RecordFileTest;

// ---- Names -----------------------------------------------------------------------------------

TEST_F(RecordFileErrors, UnknownTable) {
    expect_line_rejected(R"("l2vpn_vpls_pww": [])",
                         R"(unknown table "l2vpn_vpls_pww"; did you mean "l2vpn_vpls_pw"?)");
    expect_line_rejected(R"("routes": [])", R"(unknown table "routes")");
}

TEST_F(RecordFileErrors, EveryTableCanBeSuggested) {
    EXPECT_TRUE(
        std::ranges::equal(records::table_names(), schema_tables, {}, {}, &SchemaTable::name));
}

TEST_F(RecordFileErrors, TableNameInAnotherSpelling) {
    for (const std::string name : {"l2vpn_vpls__pw", "L2vpn_vpls_pw", "l2vpn_vplsPw"}) {
        expect_line_rejected("\"" + name + "\": []",
                             "unknown table \"" + name + "\"; did you mean \"l2vpn_vpls_pw\"?");
    }
}

TEST_F(RecordFileErrors, TableWithoutTypedAccess) {
    for (const SchemaTable &table : schema_tables) {
        const bool typed = std::ranges::count(typed_tables, table.name, &TypedTable::name) != 0;
        if (!typed) {
            expect_line_rejected("\"" + table.name + "\": [{\"vrIndex\": 1}]",
                                 "table \"" + table.name +
                                     "\": found a table that can only be formatted, expected one "
                                     "that is stored");
        }
    }
}

TEST_F(RecordFileErrors, RepeatedTable) {
    expect_line_rejected(R"("l2vpn_vpls_inst": [{"vrIndex": 2}])",
                         R"(table "l2vpn_vpls_inst": found a second time, first in line 1, )"
                         R"(expected once)");
}

TEST_F(RecordFileErrors, UnknownField) {
    expect_line_rejected(R"("l2vpn_vpls_pw": [{"vrIndex": 1, "pwTunelId": 7}])",
                         R"(table "l2vpn_vpls_pw": unknown field "pwTunelId"; )"
                         R"(did you mean "pwTunnelId"?)");
}

TEST_F(RecordFileErrors, FieldNameWithControlCharacterIsEscaped) {
    expect_line_rejected(R"("l2vpn_vpls_pw": [{"flags\u001b\u0000": 7}])",
                         R"(table "l2vpn_vpls_pw": unknown field "flags\u001b\u0000"; )"
                         R"(did you mean "flags"?)");
}

TEST_F(RecordFileErrors, RepeatedField) {
    expect_rejected(
        "{\"l2vpn_vpls_pw\": [{\n\"pwTunnelId\": 7,\n\"mtu\": 1500,\n\n"
        "\"pwTunnelId\": 7}]}",
        {":5: table \"l2vpn_vpls_pw\", field \"pwTunnelId\": found a second time, first "
         "in line 2, expected once"});
}

// ---- Numbers ---------------------------------------------------------------------------------

TEST_F(RecordFileErrors, NumberOutOfRange) {
    expect_line_rejected(R"("l2vpn_vpls_pw": [{"pwTunnelType": 256}])",
                         R"(table "l2vpn_vpls_pw", field "pwTunnelType": found 256, )"
                         R"(expected a number from 0 to 255)");
    expect_line_rejected(R"("l2vpn_vpls_pw": [{"mtu": 65536}])",
                         R"(table "l2vpn_vpls_pw", field "mtu": found 65536, )"
                         R"(expected a number from 0 to 65535)");
    expect_line_rejected(R"("l2vpn_vpls_pw": [{"vcId": 4294967296}])",
                         R"(table "l2vpn_vpls_pw", field "vcId": found 4294967296, )"
                         R"(expected a number from 0 to 4294967295)");
    expect_line_rejected(R"("l2vpn_vpls_pw": [{"timeStampApp": 18446744073709551616}])",
                         R"(table "l2vpn_vpls_pw", field "timeStampApp": )"
                         R"(found 18446744073709551616, )"
                         R"(expected a number from 0 to 18446744073709551615)");
}

TEST_F(RecordFileErrors, NotAnUnsignedNumber) {
    const std::map<std::string, std::string> found = {
        {"-1", "-1"},
        {"-0", "-0"},
        {"1.5", "1.5"},
        {"1e2", "1e2"},
        {"true", "true"},
        {"false", "false"},
        {"null", "null"},
        {R"("7")", R"("7")"},
        {R"("10.0.0.1")", R"("10.0.0.1")"},
        {"[7]", "[7]"},
        {R"({"a": 1, "b": 2})", "an object of 2 members"}};
    for (const auto &[value, description] : found) {
        expect_line_rejected("\"l2vpn_vpls_pw\": [{\"mtu\": " + value + "}]",
                             "table \"l2vpn_vpls_pw\", field \"mtu\": found " + description +
                                 ", expected a number from 0 to 65535");
    }
}

TEST_F(RecordFileErrors, NumberOverflow) {
    expect_line_rejected(R"("l2vpn_vpls_pw": [{"mtu": 1e400}])", "number overflow parsing '1e400'");
}

TEST_F(RecordFileErrors, LongNumbersAreCut) {
    const std::string zeros(1000, '0');
    const std::string cut = " (1002 bytes), expected a number from 0 to 65535";
    expect_line_rejected("\"l2vpn_vpls_pw\": [{\"mtu\": 1." + zeros + "}]",
                         R"(table "l2vpn_vpls_pw", field "mtu": found 1.)" + zeros.substr(0, 98) +
                             "..." + cut);
    const std::string problem = "number overflow parsing '1" + zeros + "'";
    expect_line_rejected("\"l2vpn_vpls_pw\": [{\"mtu\": 1" + zeros + "}]",
                         problem.substr(0, 100) + "... (1027 bytes)");
}

TEST_F(RecordFileErrors, InvalidAddress) {
    for (const std::string text : {"10.0.0.256", "10.0.0", "10.0.0.0.1", "10.0.0.01", " 10.0.0.1",
                                   "10.0.0.1 ", "", "0x0a000001", R"(10.0.0.1\u0000)"}) {
        expect_line_rejected("\"l2vpn_vpls_pw\": [{\"peerIp\": \"" + text + "\"}]",
                             "table \"l2vpn_vpls_pw\", field \"peerIp\": found \"" + text +
                                 "\", expected a number from 0 to 4294967295 or a text like "
                                 "\"192.0.2.1\"");
    }
}

// ---- Arrays of two bytes, and bytes ----------------------------------------------------------

TEST_F(RecordFileErrors, NotAPair) {
    for (const std::string value :
         {"1", "[]", "[1]", "[1, 0, 0]", "[1, 256]", "[-1, 0]", R"(["1", "0"])", R"("01:00")"}) {
        expect_line_rejected("\"l2vpn_vpls_pw\": [{\"svcStatus\": " + value + "}]",
                             "table \"l2vpn_vpls_pw\", field \"svcStatus\": found " + value +
                                 ", expected a list of two numbers from 0 to 255");
    }
    expect_line_rejected(R"("l2vpn_vpls_pw": [{"svcStatus": [1, 2, 3, 4, 5, 6, 7, 8, 9]}])",
                         R"(table "l2vpn_vpls_pw", field "svcStatus": found a list of 9 values, )"
                         "expected a list of two numbers from 0 to 255");
}

TEST_F(RecordFileErrors, WrongNumberOfBytes) {
    for (const std::string value :
         {R"("00:1b:44:11:3a")", R"("00:1b:44:11:3a:b7:01")", R"("00:1b:44:11:3a:b")",
          R"("00:1b:44:11:3a:bg")", R"("00-1b-44-11-3a-b7")", R"("001b44113ab7")",
          R"("0:1b:44:11:3a:b70")", R"(" 0:1b:44:11:3a:b7")", R"("00:1b:44:11:3a:-7")", R"("")",
          "7"}) {
        expect_line_rejected("\"l2vpn_vpls_vsimac\": [{\"macAddr\": " + value + "}]",
                             "table \"l2vpn_vpls_vsimac\", field \"macAddr\": found " + value +
                                 ", expected a text of 6 hexadecimal bytes like "
                                 "\"00:1b:44:11:3a:b7\"");
    }
    expect_line_rejected(R"("l2vpn_extnhp": [{"svcCtx": "00:01"}])",
                         R"(table "l2vpn_extnhp", field "svcCtx": found "00:01", )"
                         R"(expected a text of 32 hexadecimal bytes like "00:1b:44:11:3a:b7:...")");
    expect_line_rejected(R"("l2vpn_extnhp": [{"svcCtx": [1, 2]}])",
                         R"(table "l2vpn_extnhp", field "svcCtx": found [1, 2], )"
                         R"(expected a text of 32 hexadecimal bytes like "00:1b:44:11:3a:b7:...")");
}

// ---- Records ---------------------------------------------------------------------------------

TEST_F(RecordFileErrors, MissingMemberOfThePrimaryKey) {
    for (const std::string record :
         {R"({"vrIndex": 1, "mtu": 1500, "pwTunnelType": 1})", R"({"vrIndex": 1})"}) {
        expect_line_rejected("\"l2vpn_vpls_pw\": [" + record + "]",
                             R"(table "l2vpn_vpls_pw", key "primary_key": found no pwTunnelId, )"
                             R"(expected all of vrIndex, pwTunnelId, pwTunnelType)");
    }
    for (const SchemaTable &each : schema_tables) {
        const records::Table &table = *records::find_table(each.name);
        if (table.access) {
            const auto members = records::field_names(table.primary_key().members);
            expect_rejected("{\"" + table.name + "\": [{}]}",
                            {fmt::format(":1: table \"{}\", key \"{}\": found no {}, "
                                         "expected all of {}",
                                         table.name, table.primary_key().name, members[0],
                                         fmt::join(members, ", "))});
        }
    }
}

TEST_F(RecordFileErrors, MissingKeyColumn) {
    const auto loaded =
        load("vrIndex,mtu,pwTunnelType\n1,1500,1\n2,1500,1\n", {.csv_table = "l2vpn_vpls_pw"});
    EXPECT_EQ(loaded.errors(),
              path + R"(:1: table "l2vpn_vpls_pw", key "primary_key": found no )"
                     R"(pwTunnelId, expected all of vrIndex, pwTunnelId, pwTunnelType)");
    EXPECT_EQ(loaded.diagnostics.count, 1U);
    EXPECT_TRUE(store_contents().empty());
}

TEST_F(RecordFileErrors, NotAListOfRecords) {
    expect_line_rejected(R"("l2vpn_vpls_pw": {"vrIndex": 1})",
                         R"(table "l2vpn_vpls_pw": found an object of 1 member, )"
                         R"(expected a list of records)");
    expect_line_rejected(R"("l2vpn_vpls_pw": [7])", R"(table "l2vpn_vpls_pw": found 7, )"
                                                    R"(expected a record, an object of fields)");
}

TEST_F(RecordFileErrors, NotAnObjectOfTables) {
    expect_rejected("[]", {":1: found [], expected an object of tables"});
    expect_rejected("\n\n7\n", {":3: found 7, expected an object of tables"});
}

// ---- Text ------------------------------------------------------------------------------------

TEST_F(RecordFileErrors, Syntax) {
    expect_line_rejected(R"("l2vpn_stp": [{"ifIndex": 1,}])",
                         "syntax error while parsing object key - unexpected '}'; expected string "
                         "literal");
    expect_rejected("{\"l2vpn_stp\": [\n{\"ifIndex\": 1}\n{\"ifIndex\": 2}]}",
                    {":3: syntax error while parsing array - unexpected '{'; expected ']'"});
    expect_rejected(
        "{\n}\n\n{}",
        {":4: syntax error while parsing value - unexpected '{'; expected end of input"});
    expect_rejected("{\"l2vpn_stp\": [\n{\"ifIndex\": 1}\n",
                    {":2: syntax error while parsing array - unexpected end of input; expected "
                     "']'"});
    expect_rejected("{\"l2vpn_stp\": [{\"ifIndex\": 01}]}",
                    {":1: syntax error while parsing object - unexpected number literal; expected "
                     "'}'"});
}

TEST_F(RecordFileErrors, InvalidUtf8) {
    const std::string errors = load("{\n\"l2vpn_\xff\": []}").errors();
    EXPECT_TRUE(errors.starts_with(path + ":2: syntax error while parsing object key - invalid "
                                          "string: ill-formed UTF-8 byte"))
        << errors;
}

TEST_F(RecordFileErrors, TooDeep) {
    expect_rejected("{\"l2vpn_vpls_pw\":\n" + std::string(100000, '['),
                    {":2: nested more than 16 deep"});
}

TEST_F(RecordFileErrors, EmptyFile) {
    expect_rejected("", {":1: found an empty file, expected an object of tables"});
}

// ---- Lines -----------------------------------------------------------------------------------

TEST_F(RecordFileErrors, EachDiagnosticHasTheLineOfItsValue) {
    // The parser reads one character past a number, which must not advance the line.
    const std::string field = R"(table "l2vpn_vpls_pw", field )";
    expect_rejected(
        "{\"l2vpn_vpls_pw\": [{\r\n"
        "\"mtu\": 70000\r\n,\n"
        "\"vccv\": 70001\n\n,\n"
        "\"bakFlag\":\n70002 ,\n"
        "\"peerIp\":\n\n\"x\"\n,\n"
        "\"svcStatus\":\n[\n1]\n}]}",
        {":2: " + field + "\"mtu\": found 70000, expected a number from 0 to 65535",
         ":4: " + field + "\"vccv\": found 70001, expected a number from 0 to 65535",
         ":8: " + field + "\"bakFlag\": found 70002, expected a number from 0 to 65535",
         ":11: " + field +
             "\"peerIp\": found \"x\", expected a number from 0 to 4294967295 or a text "
             "like \"192.0.2.1\"",
         ":14: " + field +
             "\"svcStatus\": found [1], expected a list of two numbers from 0 to 255"});
}

TEST_F(RecordFileErrors, AllErrorsAreReported) {
    const std::string inst = R"(table "l2vpn_vpls_inst")";
    const std::string stored = "formatted, expected one that is stored";
    expect_rejected(
        "{\"l2vpn_vpls_in\": [],\n"
        " \"l2vpn_eth\": 7,\n"
        " \"l2vpn_vpls_inst\": [{\"vrIndx\": 1,\n"
        "   \"state\": 256, \"vrIndex\": 1},\n"
        "  [],\n"
        "  {\"vrIndex\": 1}],\n"
        " \"l2vpn_stp\": 1}",
        {R"(:1: unknown table "l2vpn_vpls_in"; did you mean "l2vpn_vpls_inst"?)",
         R"(:2: table "l2vpn_eth": found a table that can only be )" + stored,
         ":3: " + inst + R"(: unknown field "vrIndx"; did you mean "vrIndex"?)",
         ":4: " + inst + R"(, field "state": found 256, expected a number from 0 to 255)",
         ":5: " + inst + ": found [], expected a record, an object of fields",
         ":6: " + inst +
             ", key \"primary_key\": found no instanceId, expected all of vrIndex, instanceId",
         R"(:7: table "l2vpn_stp": found 1, expected a list of records)"});
}

} // namespace
} // namespace l2vpn::test
