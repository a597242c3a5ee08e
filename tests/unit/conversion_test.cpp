// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <algorithm>

namespace l2vpn::test {
namespace {

constexpr std::uint8_t untouched = 0xA5;

class Conversion : public TypedTableTest {
protected:
    const Bytes record = sample_record(expected.record_size, 1);
    const Bytes stored = sample_record(expected.stored_size, 2);

    static void expect_copies(const std::vector<Copy> &copies, const std::uint8_t *to,
                              std::uint32_t Copy::*to_offset, const std::uint8_t *from,
                              std::uint32_t Copy::*from_offset) {
        ASSERT_EQ(platform().copies.size(), copies.size());
        for (std::size_t i = 0; i < copies.size(); ++i) {
            const CopyCall &call = platform().copies[i];
            EXPECT_EQ(call.destination, to + copies[i].*to_offset) << "call " << i;
            EXPECT_EQ(call.source, from + copies[i].*from_offset) << "call " << i;
            EXPECT_EQ(call.size, copies[i].size) << "call " << i;
            EXPECT_EQ(call.count, copies[i].size) << "call " << i;
        }
    }
};

TEST_P(Conversion, StoredRecordIsPackedWithoutPadding) {
    Bytes buffer(expected.stored_size + 16, untouched);
    table.set_all_fields(record.data(), buffer.data());
    Bytes packed = packed_record(expected, record);
    ASSERT_EQ(packed.size(), expected.stored_size);
    packed.resize(buffer.size(), untouched);
    EXPECT_EQ(buffer, packed);
}

TEST_P(Conversion, EachFieldGoesToItsPackedOffset) {
    for (const Field &field : expected.fields) {
        Bytes single(expected.record_size);
        for (std::uint32_t i = 0; i < field.width; ++i) {
            single[field.offset + i] = static_cast<std::uint8_t>(i + 1);
        }
        Bytes buffer(expected.stored_size, untouched);
        table.set_all_fields(single.data(), buffer.data());
        Bytes packed(expected.stored_size);
        for (std::uint32_t i = 0; i < field.width; ++i) {
            packed[field.stored_offset + i] = static_cast<std::uint8_t>(i + 1);
        }
        EXPECT_EQ(buffer, packed) << field.name;
    }
}

TEST_P(Conversion, UnpackingFillsEveryFieldAndNoPadding) {
    Bytes buffer(expected.record_size, untouched);
    table.get_all_fields(stored.data(), buffer.data());
    EXPECT_EQ(buffer, unpacked_record(expected, stored, Bytes(expected.record_size, untouched)));
    for (const std::uint32_t at : expected.padding()) {
        EXPECT_EQ(buffer[at], untouched) << "byte " << at;
    }
}

TEST_P(Conversion, RoundTripKeepsEveryField) {
    Bytes buffer(expected.stored_size);
    table.set_all_fields(record.data(), buffer.data());
    Bytes again(expected.record_size, untouched);
    table.get_all_fields(buffer.data(), again.data());
    for (const Field &field : expected.fields) {
        for (std::uint32_t i = field.offset; i < field.offset + field.width; ++i) {
            EXPECT_EQ(again[i], record[i]) << field.name;
        }
    }
}

TEST_P(Conversion, PaddingDoesNotReachTheStoredRecord) {
    Bytes other = record;
    for (const std::uint32_t at : expected.padding()) {
        other[at] = static_cast<std::uint8_t>(~other[at]);
    }
    Bytes first(expected.stored_size);
    Bytes second(expected.stored_size);
    table.set_all_fields(record.data(), first.data());
    table.set_all_fields(other.data(), second.data());
    EXPECT_EQ(first, second);
}

TEST_P(Conversion, LayoutsAreEqualWithoutPadding) {
    if (!expected.padding().empty()) {
        EXPECT_LT(expected.stored_size, expected.record_size);
        return;
    }
    Bytes buffer(expected.stored_size);
    table.set_all_fields(record.data(), buffer.data());
    EXPECT_EQ(buffer, record);
}

TEST_P(Conversion, StringsAndContextsAreCopiedOneAtATimeInSchemaOrder) {
    Bytes buffer(expected.stored_size);
    table.set_all_fields(record.data(), buffer.data());
    expect_copies(expected.copies(), buffer.data(), &Copy::stored_offset, record.data(),
                  &Copy::offset);
    platform().copies.clear();
    Bytes back(expected.record_size);
    table.get_all_fields(stored.data(), back.data());
    expect_copies(expected.copies(), back.data(), &Copy::offset, stored.data(),
                  &Copy::stored_offset);
}

TEST_P(Conversion, ReturnsTheResultOfTheLastCopy) {
    const std::size_t copies = expected.copies().size();
    // If the service fields are converted separately, that conversion determines the result.
    const bool last_counts = !expected.svc_fields_split || !expected.service_copies().empty();
    Bytes buffer(expected.stored_size);
    Bytes back(expected.record_size);
    for (std::size_t failing = 0; failing <= copies; ++failing) {
        const std::uint32_t result = last_counts && failing + 1 == copies ? 34 : 0;
        platform().copy_failures = {{failing, 34}};
        platform().copies.clear();
        EXPECT_EQ(table.set_all_fields(record.data(), buffer.data()), result) << failing;
        platform().copies.clear();
        EXPECT_EQ(table.get_all_fields(stored.data(), back.data()), result) << failing;
        EXPECT_EQ(platform().copies.size(), copies)
            << "a failure does not skip the copies after it";
    }
    platform().copy_failures.clear();
    if (copies != 0) {
        EXPECT_EQ(table.set_all_fields(record.data(), buffer.data()), 0U);
        EXPECT_EQ(table.get_all_fields(stored.data(), back.data()), 0U);
    }
}

TEST_P(Conversion, ReadsOnlyItsSource) {
    const Bytes record_before = record;
    const Bytes stored_before = stored;
    Bytes buffer(expected.stored_size);
    Bytes back(expected.record_size);
    table.set_all_fields(record.data(), buffer.data());
    table.get_all_fields(stored.data(), back.data());
    EXPECT_EQ(record, record_before);
    EXPECT_EQ(stored, stored_before);
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(Conversion, ServiceFieldFunctionsExistOnlyIfTheConversionIsSplit) {
    EXPECT_EQ(table.set_svc_fields != nullptr, expected.svc_fields_split);
    EXPECT_EQ(table.get_svc_fields != nullptr, expected.svc_fields_split);
}

L2VPN_TEST_TYPED_TABLES(Conversion, any_table);

/// The conversions of the service fields only.
class ServiceFields : public Conversion {
protected:
    const std::vector<Copy> copies = expected.service_copies();

    /// Whether the service fields that are copied by assignment have been copied.
    [[nodiscard]] bool assigned(const Bytes &to, std::uint32_t Field::*to_offset, const Bytes &from,
                                std::uint32_t Field::*from_offset) const {
        return std::ranges::all_of(expected.fields, [&](const Field &field) {
            return !field.service() || !field.assigned() ||
                   std::equal(&to[field.*to_offset], &to[field.*to_offset] + field.width,
                              &from[field.*from_offset]);
        });
    }
};

TEST_P(ServiceFields, SetWritesOnlyTheirStoredBytes) {
    Bytes buffer = stored;
    EXPECT_EQ(table.set_svc_fields(record.data(), buffer.data()), 0U);
    Bytes changed = stored;
    for (const Field &field : expected.fields) {
        if (field.service()) {
            std::copy_n(&record[field.offset], field.width, &changed[field.stored_offset]);
        }
    }
    EXPECT_EQ(buffer, changed);
    expect_copies(copies, buffer.data(), &Copy::stored_offset, record.data(), &Copy::offset);
}

TEST_P(ServiceFields, GetWritesOnlyTheirCallerBytes) {
    Bytes buffer = record;
    EXPECT_EQ(table.get_svc_fields(stored.data(), buffer.data()), 0U);
    Bytes changed = record;
    for (const Field &field : expected.fields) {
        if (field.service()) {
            std::copy_n(&stored[field.stored_offset], field.width, &changed[field.offset]);
        }
    }
    EXPECT_EQ(buffer, changed);
    expect_copies(copies, buffer.data(), &Copy::offset, stored.data(), &Copy::stored_offset);
}

TEST_P(ServiceFields, StatusBytesArePackedLastAndUnpackedFirst) {
    Bytes stored_buffer = stored;
    platform().during_copy = [&] {
        EXPECT_TRUE(assigned(stored_buffer, &Field::stored_offset, stored, &Field::stored_offset));
    };
    table.set_svc_fields(record.data(), stored_buffer.data());
    EXPECT_TRUE(assigned(stored_buffer, &Field::stored_offset, record, &Field::offset));
    Bytes record_buffer = record;
    platform().during_copy = [&] {
        EXPECT_TRUE(assigned(record_buffer, &Field::offset, stored, &Field::stored_offset));
    };
    table.get_svc_fields(stored.data(), record_buffer.data());
}

TEST_P(ServiceFields, ReturnsTheResultOfTheLastCopy) {
    for (std::size_t failing = 0; failing < copies.size(); ++failing) {
        platform().copy_failures = {{failing, 99}};
        const std::uint32_t result = failing + 1 == copies.size() ? 99 : 0;
        Bytes stored_buffer = stored;
        platform().copies.clear();
        EXPECT_EQ(table.set_svc_fields(record.data(), stored_buffer.data()), result);
        Bytes record_buffer = record;
        platform().copies.clear();
        EXPECT_EQ(table.get_svc_fields(stored.data(), record_buffer.data()), result);
    }
}

L2VPN_TEST_TYPED_TABLES(ServiceFields, splits_svc_fields);

} // namespace
} // namespace l2vpn::test
