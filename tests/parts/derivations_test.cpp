// SPDX-License-Identifier: MIT
// Runs the library's compile-time derivations at run time, where single steps can be tested.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "library/control_block.h"
#include "library/conversion.h"
#include "library/formatter.h"
#include "library/generic_interface.h"
#include "library/key_builder.h"
#include "library/make_table_info.h"
#include "library/schema_descriptor.h"
#include "tests/parts/sample_table.h"

namespace l2vpn {
namespace {

TEST(Pieces, AreTheWidestMovesThatFit) {
    const std::size_t expected[] = {0, 1, 2, 2, 4, 4, 4, 4, 8, 8, 8, 8, 8, 8, 8, 8, 16, 16, 16};
    for (std::size_t length = 0; length < std::size(expected); ++length)
        EXPECT_EQ(piece(length), expected[length]) << length;
    EXPECT_EQ(piece(1000), 16U);
}

TEST(Pieces, OverlapIfOneOverlappingMoveCopiesTheRest) {
    std::vector<std::size_t> overlapping;
    for (std::size_t length = 1; length <= 40; ++length)
        if (overlaps(length))
            overlapping.push_back(length);
    // 7 is 4 and 3, 11 is 8 and 3, ... and 19 is 16 and 3.
    EXPECT_EQ(overlapping, (std::vector<std::size_t>{7, 11, 13, 14, 15, 19, 21, 22, 23, 25, 26, 27,
                                                     28, 29, 30, 31}));
}

TEST(Facts, OfStoredRecords) {
    const std::size_t offsets[] = {0, 4, 5, 7, 13, 15, 17, 27, 31, 35, 38};
    for (std::size_t field = 0; field < std::size(offsets); ++field)
        EXPECT_EQ(stored_offset<SampleTable>(field), offsets[field]) << field;
    EXPECT_EQ(stored_size<SampleTable>, 38U);
    EXPECT_EQ(stored_size<OneFieldTable>, 1U);
}

TEST(Facts, OfFields) {
    EXPECT_EQ(field_named<SampleTable>("vrId"), 0U);
    EXPECT_EQ(field_named<SampleTable>("token"), 9U);
    EXPECT_EQ(field_named<SampleTable>("tok"), no_field);
    EXPECT_EQ(field_named<OneFieldTable>("batchVersion"), no_field);
    EXPECT_TRUE(has_batch_version<SampleTable>);
    EXPECT_EQ(batch_version<SampleTable>, 7U);
    EXPECT_FALSE(has_batch_version<OneFieldTable>);
    std::vector<bool> plain;
    for (const Field &field : SampleTable::fields)
        plain.push_back(field.plain());
    EXPECT_EQ(plain,
              (std::vector<bool>{true, true, true, false, true, true, false, true, true, false}));
}

TEST(Facts, OfKeys) {
    EXPECT_STREQ(key_member<SampleTable>(0, 2).name, "macAddr");
    EXPECT_STREQ(key_member<SampleTable>(1, 0).name, "batchVersion");
    EXPECT_STREQ(key_member<SampleTable>(1, 2).name, "vrId");
    EXPECT_EQ(key_length<SampleTable>(0), 12U);
    EXPECT_EQ(key_length<SampleTable>(1), 12U);
    EXPECT_EQ(key_length<OneFieldTable>(0), 1U);
    EXPECT_EQ(key_id_word<SampleTable>(0), 0x0001000CU);
    EXPECT_EQ(key_id_word<SampleTable>(1), 0x0109000CU);
    EXPECT_EQ(key_flags(0), 1U);
    EXPECT_EQ(key_flags(1), 9U);
    EXPECT_EQ(key_code(0), 0x001U);
    EXPECT_EQ(key_code(1), 0x109U);
    EXPECT_EQ(key_code(9), 0x909U);
    EXPECT_EQ(key_of_code(0x001), 0U);
    EXPECT_EQ(key_of_code(0x909), 9U);
}

using SegmentList = std::vector<std::tuple<std::size_t, std::size_t, std::size_t, bool>>;

template <class List>
SegmentList listed(const List &list) {
    SegmentList result;
    for (std::size_t i = 0; i < list.count; ++i)
        result.emplace_back(list.items[i].caller, list.items[i].packed, list.items[i].width,
                            list.items[i].plain);
    return result;
}

TEST(Segments, MergePlainBytesThatAreContiguousInBothLayouts) {
    Segments<6> segments;
    segments.add({0, 0, 4, true});
    segments.add({4, 4, 1, true});
    EXPECT_EQ(listed(segments), (SegmentList{{0, 0, 5, true}}));
    segments.add({6, 5, 2, true}); // after padding in the caller record
    segments.add({8, 8, 2, true}); // not contiguous in the stored record
    segments.add({10, 10, 2, false});
    segments.add({12, 12, 2, true}); // after bytes that are not plain
    segments.add({14, 14, 2, false});
    EXPECT_EQ(listed(segments), (SegmentList{{0, 0, 5, true},
                                             {6, 5, 2, true},
                                             {8, 8, 2, true},
                                             {10, 10, 2, false},
                                             {12, 12, 2, true},
                                             {14, 14, 2, false}}));
}

TEST(Segments, OfAWholeRecordFollowTheSchema) {
    EXPECT_EQ(listed(record_segments<SampleTable>()), (SegmentList{{0, 0, 5, true},
                                                                   {6, 5, 2, true},
                                                                   {8, 7, 6, false},
                                                                   {14, 13, 4, true},
                                                                   {18, 17, 5, false},
                                                                   {23, 22, 5, false},
                                                                   {28, 27, 8, true},
                                                                   {36, 35, 3, false}}));
}

TEST(Segments, LeaveServiceFieldsToTheirOwnConversion) {
    EXPECT_EQ(listed(record_segments<SplitTable>()), (SegmentList{{0, 0, 5, true},
                                                                  {6, 5, 2, true},
                                                                  {8, 7, 6, false},
                                                                  {28, 27, 8, true},
                                                                  {36, 35, 3, false}}));
    EXPECT_EQ(listed(service_segments<SplitTable, Direction::to_packed>()),
              (SegmentList{{18, 17, 5, false}, {23, 22, 5, false}, {14, 13, 4, true}}));
    EXPECT_EQ(listed(service_segments<SplitTable, Direction::to_caller>()),
              (SegmentList{{14, 13, 4, true}, {18, 17, 5, false}, {23, 22, 5, false}}));
}

/// The first and the last field are service fields.
struct ServiceAround {
    static constexpr Field fields[] = {{"svcStatus", 0, 0, 2, Kind::pair, true},
                                       {"vlan", 2, 2, 2, Kind::integer, true},
                                       {"svcCtx", 3, 4, 10, Kind::context, true}};
    static constexpr bool svc_fields_split = true;
};

TEST(Segments, FindServiceFieldsAtBothEnds) {
    EXPECT_EQ(listed(record_segments<ServiceAround>()), (SegmentList{{2, 2, 2, true}}));
    EXPECT_EQ(listed(service_segments<ServiceAround, Direction::to_packed>()),
              (SegmentList{{4, 4, 5, false}, {9, 9, 5, false}, {0, 0, 2, true}}));
}

TEST(Segments, ReturnZeroWithoutAMemcpySCall) {
    static constexpr auto none = record_segments<OneFieldTable>();
    const char from = 7;
    char to = 0;
    EXPECT_EQ((copy_segments<Direction::to_packed, none>(&to, &from)), 0U);
    EXPECT_EQ(to, 7);
}

TEST(Segments, ThatMemcpySCopiesAreClearedFirst) {
    EXPECT_EQ(end_of_copied<SampleTable>(2), 2U);
    EXPECT_EQ(end_of_copied<SampleTable>(3), 4U);
    EXPECT_EQ(end_of_copied<SampleTable>(9), 10U);
    EXPECT_EQ(end_of_copied<SampleTable>(10), 10U);
    char stored[stored_size<SampleTable>];
    std::memset(stored, 'x', sizeof stored);
    clear_copied<SampleTable>(stored);
    // The address, the context and the token.
    EXPECT_EQ(std::string(stored, sizeof stored), std::string(7, 'x') + std::string(6, '\0') +
                                                      std::string(4, 'x') + std::string(10, '\0') +
                                                      std::string(8, 'x') + std::string(3, '\0'));
}

TEST(Segments, ThatMemcpySCopiesAreClearedAtBothEnds) {
    char stored[stored_size<CopiedEndsTable>];
    std::memset(stored, 'x', sizeof stored);
    clear_copied<CopiedEndsTable>(stored);
    EXPECT_EQ(std::string(stored, sizeof stored),
              std::string(6, '\0') + 'x' + std::string(3, '\0'));
}

TEST(Segments, RecogniseServiceFieldsByName) {
    for (const char *name : {"svcStatus", "svcErrcode", "glbSvcCtx", "svcCtx"})
        EXPECT_TRUE(is_service_field(name)) << name;
    for (const char *name : {"svcStatu", "svcCtx2", "batchVersion", ""})
        EXPECT_FALSE(is_service_field(name)) << name;
}

TEST(KeySegments, MergeMembersThatAreContiguousInTheRecord) {
    EXPECT_EQ(listed(key_segments<SampleTable, 0, true>()),
              (SegmentList{{0, 0, 4, true}, {6, 4, 2, true}}));
    EXPECT_EQ(listed(key_segments<SampleTable, 0, false>()), (SegmentList{{8, 6, 6, false}}));
    EXPECT_EQ(listed(key_segments<SampleTable, 1, true>()),
              (SegmentList{{28, 0, 8, true}, {0, 8, 4, true}}));
    EXPECT_EQ(listed(key_segments<SampleTable, 1, false>()), SegmentList{});
}

/// A key whose members, except the last, are contiguous in the record.
struct MacsAmongNumbers {
    static constexpr Field fields[] = {
        {"vrId", 0, 0, 4, Kind::integer, true},  {"vlan", 1, 4, 2, Kind::integer, true},
        {"source", 2, 6, 6, Kind::mac, true},    {"target", 3, 12, 6, Kind::mac, true},
        {"port", 4, 18, 2, Kind::integer, true}, {"slot", 5, 24, 4, Kind::integer, true}};
    static constexpr std::uint16_t key_members[] = {0, 1, 2, 3, 4, 5};
    static constexpr Key keys[] = {{"primary_key", 0, 6}};
};

TEST(KeySegments, NeverMergeMacAddresses) {
    EXPECT_EQ(listed(key_segments<MacsAmongNumbers, 0, true>()),
              (SegmentList{{0, 0, 6, true}, {18, 18, 2, true}, {24, 20, 4, true}}));
    EXPECT_EQ(listed(key_segments<MacsAmongNumbers, 0, false>()),
              (SegmentList{{6, 6, 6, false}, {12, 12, 6, false}}));
}

/// A table with a separator after the last item.
struct SeparatedTable : SampleTable {
    static constexpr bool trailing_separator = true;
};

TEST(Lines, HaveSeparators) {
    EXPECT_TRUE(separated_after<SampleTable>(3));
    EXPECT_FALSE(separated_after<SampleTable>(7));
    EXPECT_TRUE(separated_after<SeparatedTable>(7));
}

TEST(Lines, HaveFieldNames) {
    EXPECT_STREQ((item_format<SampleTable, 0>(":%u%s").data()), "vrId:%u%s");
    EXPECT_STREQ((item_format<SampleTable, 6>(":0x").data()), "svcCtx:0x");
    EXPECT_EQ((item_format<SampleTable, 0>(":%u%s").size()), 10U);
    EXPECT_EQ(last_printed<SampleTable>(), 7U);
    EXPECT_EQ(last_printed<OneFieldTable>(), 0U);
}

/// A table whose last item is a pair.
struct PairLast {
    static constexpr Field fields[] = {{"vlan", 0, 0, 2, Kind::integer, true},
                                       {"svcStatus", 1, 2, 2, Kind::pair, true},
                                       {"resv", 3, 4, 1, Kind::integer, false}};
    static constexpr bool trailing_separator = false;
};

TEST(Lines, CanEndWithAPair) {
    const unsigned char record[] = {4, 1, 8, 9, 5};
    char text[40];
    EXPECT_EQ(format_table<PairLast>(record, text, sizeof text, "; "), 23U);
    EXPECT_STREQ(text, "vlan:260; svcStatus:8 9");
}

TEST(Descriptors, EndWithTheirMaps) {
    // Not constexpr, so that make_descriptor runs now.
    L2vpnDbTblIntf intf{SampleTable::name, nullptr, nullptr, nullptr, nullptr, nullptr, {}};
    const auto descriptor = make_descriptor<SampleTable>(intf);
    EXPECT_EQ(descriptor.intf.name, SampleTable::name);
    EXPECT_EQ(descriptor.updates[0].id, 10U);
    EXPECT_EQ(descriptor.updates[0].value, 10U);
    ASSERT_EQ(std::size(descriptor.keys), 2U);
    EXPECT_EQ(descriptor.keys[0].id, 0U);
    EXPECT_EQ(descriptor.keys[0].value, 0x001U);
    EXPECT_EQ(descriptor.keys[1].id, 1U);
    EXPECT_EQ(descriptor.keys[1].value, 0x109U);
    static_assert(sizeof descriptor == 80 + 8 + 16);

    const auto small = make_descriptor<OneFieldTable>(intf);
    EXPECT_EQ(small.keys[0].value, 0x001U);
    static_assert(sizeof small == 80 + 8);
}

TEST(Schemas, DescribeTheTable) {
    static Schema<SampleTable> self;
    L2vpnAstFormatFn format = [](std::uint32_t, const void *, char *, std::uint32_t, const char *) {
        return 7U;
    };
    const Schema<SampleTable> made = make_schema<SampleTable>(self, format);
    EXPECT_EQ(made.module.name, SampleTable::name);
    EXPECT_EQ(made.module.fields, self.fields);
    EXPECT_EQ(made.module.keys, self.keys);
    EXPECT_EQ(made.module.sizes, 0x00000028'0002'000AU);
    EXPECT_EQ(made.module.format, format);
    EXPECT_STREQ(made.fields[6].name, "svcCtx");
    EXPECT_EQ(made.fields[6].position, 0x00000012'000A'0008U);
    EXPECT_EQ(made.fields[9].position, 0x00000024'0003'000CU);
    EXPECT_STREQ(made.members[3], "batchVersion");
    EXPECT_STREQ(made.members[5], "vrId");
    EXPECT_STREQ(made.keys[1].name, "batch_key");
    EXPECT_EQ(made.keys[1].index, 1U);
    EXPECT_EQ(made.keys[1].members, &self.members[3]);
    EXPECT_EQ(made.keys[1].memberCount, 3U);
}

/// Each violates the layout in one place.
struct KeyTooShort : SampleTable {
    struct ControlBlock {
        std::uint32_t keyId[4];
        std::uint8_t key[8];
        L2vpnDbGlbCb cb;
    };
};
struct KeyTooLate : SampleTable {
    struct ControlBlock {
        std::uint32_t keyId[6];
        std::uint8_t key[16];
        L2vpnDbGlbCb cb;
    };
};
struct BlockTooLate : SampleTable {
    struct ControlBlock {
        std::uint32_t keyId[4];
        std::uint8_t key[16];
        std::uint64_t more;
        L2vpnDbGlbCb cb;
    };
};
struct BlockTooLong : SampleTable {
    struct ControlBlock {
        std::uint32_t keyId[4];
        std::uint8_t key[16];
        L2vpnDbGlbCb cb;
        std::uint64_t more;
    };
};

TEST(ControlBlocks, AreCheckedAgainstTheLayout) {
    EXPECT_TRUE(control_block_laid_out<SampleTable>());
    EXPECT_FALSE(control_block_laid_out<KeyTooShort>());
    EXPECT_FALSE(control_block_laid_out<KeyTooLate>());
    EXPECT_FALSE(control_block_laid_out<BlockTooLate>());
    EXPECT_FALSE(control_block_laid_out<BlockTooLong>());
}

TEST(TableInfo, HoldsTheTablesFacts) {
    // A volatile pointer prevents constant evaluation.
    TableInfo (*volatile make)() = make_table_info<SampleTable>;
    const TableInfo access = make();
    EXPECT_EQ(access.intf, &sample_descriptor.intf);
    EXPECT_EQ(access.keys, key_info<SampleTable>.data());
    EXPECT_EQ(access.key_map.pairs, sample_descriptor.keys);
    EXPECT_EQ(access.key_map.count, 2U);
    EXPECT_EQ(access.update_map.pairs, sample_descriptor.updates);
    EXPECT_EQ(access.update_map.count, 1U);
    EXPECT_EQ(access.batch_version.offset, 28U);
    EXPECT_EQ(access.batch_version.id, 10U);
    EXPECT_EQ(access.batch_version.set, SampleTable::set_batch_version);
    EXPECT_EQ(access.set_fields, nullptr);
    EXPECT_EQ(access.control_block, &sample_block);
    EXPECT_EQ(access.cb, &sample_block.cb);
    EXPECT_EQ(access.record_size, 40U);
    EXPECT_EQ(access.row, 7U);
    EXPECT_FALSE(access.checks_null);
}

TEST(TableInfo, HoldsASetterForEachKey) {
    std::array<KeyInfo, 2> (*volatile make)(std::index_sequence<0, 1>) = make_key_info<SampleTable>;
    const std::array<KeyInfo, 2> keys = make({});
    EXPECT_EQ(keys[0].intf, &sample_descriptor.intf);
    EXPECT_EQ(keys[1].intf, &sample_descriptor.intf);
    EXPECT_EQ(keys[0].build, (build_key_out_of_line<SampleTable, 0>));
    EXPECT_EQ(keys[1].build, (build_key_out_of_line<SampleTable, 1>));
}

std::uint32_t value_of(std::uint32_t *value) {
    return *value;
}

TEST(GenericInterface, ChecksTheRecordsLength) {
    std::uint32_t record = 77;
    for (const std::uint32_t length : {0U, 3U, 5U})
        EXPECT_EQ(dal_read_write(static_cast<void *>(&record), length, value_of),
                  L2VPN_DB_ERR_PARAM);
    EXPECT_EQ(dal_read_write(static_cast<void *>(&record), 4, value_of), 77U);
}

} // namespace
} // namespace l2vpn
