// SPDX-License-Identifier: MIT
#include "tests/support/table_test.h"

#include <functional>

namespace l2vpn::test {
namespace {

class GenericInterface : public TypedTableTest {
protected:
    void SetUp() override {
        TypedTableTest::SetUp();
        platform().iterator = store_iterator();
    }

    [[nodiscard]] std::vector<std::uint32_t> wrong_lengths() const {
        std::vector<std::uint32_t> lengths{0,
                                           1,
                                           expected.record_size - 1,
                                           expected.record_size + 1,
                                           expected.record_size * 2,
                                           expected.record_size + 0x10000,
                                           expected.record_size | 0x80000000,
                                           0xFFFFFFFF};
        if (expected.stored_size != expected.record_size) {
            lengths.push_back(expected.stored_size);
        }
        std::erase(lengths, expected.record_size); // which can be 1
        return lengths;
    }

    /// Compares everything except addresses that differ between calls.
    static void expect_same_calls(const std::vector<StoreCall> &one,
                                  const std::vector<StoreCall> &other) {
        ASSERT_EQ(one.size(), other.size());
        for (std::size_t i = 0; i < one.size(); ++i) {
            EXPECT_EQ(one[i].op, other[i].op);
            EXPECT_EQ(one[i].table, other[i].table);
            EXPECT_EQ(one[i].iterator, other[i].iterator);
            EXPECT_EQ(one[i].count, other[i].count);
            ASSERT_EQ(one[i].key.has_value(), other[i].key.has_value());
            if (one[i].key) {
                EXPECT_EQ(one[i].key->id, other[i].key->id);
                EXPECT_EQ(one[i].key->value, other[i].key->value);
            }
            ASSERT_EQ(one[i].record.has_value(), other[i].record.has_value());
            if (one[i].record) {
                EXPECT_EQ(one[i].record->bytes, other[i].record->bytes);
            }
            ASSERT_EQ(one[i].update.has_value(), other[i].update.has_value());
            if (one[i].update) {
                EXPECT_EQ(one[i].update->request.fieldIds, other[i].update->request.fieldIds);
                EXPECT_EQ(one[i].update->request.fieldCount, other[i].update->request.fieldCount);
                EXPECT_EQ(one[i].update->request.setFields, other[i].update->request.setFields);
            }
        }
    }

    /// Expects equal results and equal store calls from both forms of an operation.
    template <class Result>
    void expect_forwarded(const std::function<Result()> &generic,
                          const std::function<Result()> &typed) {
        for (const std::uint32_t result : store_results) {
            platform().result = result;
            platform().calls.clear();
            std::memset(table.control_block, 0, table.control_block_size);
            const Result generic_result = generic();
            const std::vector<StoreCall> generic_calls = platform().calls;
            platform().calls.clear();
            std::memset(table.control_block, 0, table.control_block_size);
            EXPECT_EQ(generic_result, typed());
            expect_same_calls(generic_calls, platform().calls);
        }
    }

    const std::uint32_t size = expected.record_size;
    const Bytes record = sample_record(size, 18);
    Bytes buffer = record;
    const std::array<std::uint32_t, 2> ids{1, 2};
    std::uint32_t count = 0;
};

TEST_P(GenericInterface, RowHoldsTheTablesFunctionsInSlotOrder) {
    const L2vpnDalIntf row = table.dal_intf();
    std::array<std::uintptr_t, 13> slots{};
    static_assert(sizeof row == sizeof slots);
    std::memcpy(slots.data(), &row, sizeof slots);
    const auto address = [](auto *function) { return reinterpret_cast<std::uintptr_t>(function); };
    EXPECT_EQ(slots[0], address(table.dal.read));
    EXPECT_EQ(slots[1], address(table.dal.write));
    EXPECT_EQ(slots[2], address(table.dal.update));
    EXPECT_EQ(slots[3], address(table.dal.remove));
    EXPECT_EQ(slots[4], address(table.dal.create_iter));
    EXPECT_EQ(slots[5], address(table.release_iter));
    EXPECT_EQ(slots[6], address(table.dal.get_next));
    EXPECT_EQ(slots[7], address(table.count));
    EXPECT_EQ(slots[8], address(table.dal.count_by_key));
    for (std::size_t slot = 9; slot < 13; ++slot) {
        EXPECT_EQ(slots[slot], 0U) << "slot " << slot;
    }
}

TEST_P(GenericInterface, EveryFetchReturnsTheSameRow) {
    const L2vpnDalIntf first = table.dal_intf();
    dirty_stack();
    const L2vpnDalIntf second = table.dal_intf();
    EXPECT_EQ(std::memcmp(&first, &second, sizeof first), 0);
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(GenericInterface, ExportedCountIsNotTheOneInTheRow) {
    EXPECT_NE(table.dal.count, table.count);
    EXPECT_NE(table.dal_intf().count, table.dal.count);
}

TEST_P(GenericInterface, ForwardsRead) {
    platform().delivered = sample_record(expected.stored_size, 19);
    expect_forwarded<std::uint32_t>(
        [&] {
            buffer = record;
            return table.dal.read(buffer.data(), size);
        },
        [&] {
            Bytes typed = record;
            const std::uint32_t result = table.read(typed.data());
            EXPECT_EQ(typed, buffer);
            return result;
        });
}

TEST_P(GenericInterface, ForwardsWrite) {
    expect_forwarded<std::uint32_t>([&] { return table.dal.write(record.data(), size); },
                                    [&] { return table.write(record.data()); });
}

TEST_P(GenericInterface, ForwardsUpdate) {
    expect_forwarded<std::uint32_t>(
        [&] { return table.dal.update(record.data(), size, ids.data(), 2); },
        [&] { return table.update_fields(record.data(), ids.data(), 2); });
    expect_forwarded<std::uint32_t>(
        [&] { return table.dal.update(record.data(), size, nullptr, 0); },
        [&] { return table.update_fields(record.data(), nullptr, 0); });
}

TEST_P(GenericInterface, ForwardsRemove) {
    expect_forwarded<std::uint32_t>([&] { return table.dal.remove(record.data(), size); },
                                    [&] { return table.remove(record.data()); });
}

TEST_P(GenericInterface, ForwardsCreateIter) {
    for (std::uint32_t index = 0; index <= expected.keys.size(); ++index) {
        expect_forwarded<L2vpnDbIter *>(
            [&] { return table.dal.create_iter(index, record.data(), size); },
            [&] { return table.create_iter(index, record.data()); });
    }
}

TEST_P(GenericInterface, ForwardsGetNext) {
    platform().delivered = sample_record(expected.stored_size, 20);
    for (L2vpnDbIter *handle : {store_iterator(), static_cast<L2vpnDbIter *>(nullptr)}) {
        expect_forwarded<std::uint32_t>(
            [&] {
                buffer = record;
                return table.dal.get_next(handle, buffer.data(), size);
            },
            [&] {
                Bytes typed = record;
                const std::uint32_t result = table.get_next(handle, typed.data());
                EXPECT_EQ(typed, buffer);
                return result;
            });
    }
}

TEST_P(GenericInterface, ForwardsCountByKey) {
    for (std::uint32_t index = 0; index <= expected.keys.size(); ++index) {
        expect_forwarded<std::uint32_t>(
            [&] { return table.dal.count_by_key(index, record.data(), size, &count); },
            [&] { return table.count_by_key(index, record.data(), &count); });
    }
}

TEST_P(GenericInterface, ForwardsNullArgumentsWithTheCorrectLength) {
    EXPECT_EQ(table.dal.read(nullptr, size), 1U);
    EXPECT_EQ(table.dal.write(nullptr, size), 1U);
    EXPECT_EQ(table.dal.remove(nullptr, size), 1U);
    if (!expected.no_null_tests) {
        EXPECT_EQ(table.dal.update(nullptr, size, ids.data(), 1), 1U);
    }
    EXPECT_EQ(table.dal.get_next(store_iterator(), nullptr, size), 1U);
    for (std::uint32_t index = 0; index <= expected.keys.size(); ++index) {
        EXPECT_EQ(table.dal.count_by_key(index, nullptr, size, &count), 1U);
    }
    EXPECT_TRUE(platform().calls.empty());
}

TEST_P(GenericInterface, RejectsEveryOtherLength) {
    for (const std::uint32_t length : wrong_lengths()) {
        SCOPED_TRACE(length);
        EXPECT_EQ(table.dal.read(buffer.data(), length), 1U);
        EXPECT_EQ(table.dal.write(record.data(), length), 1U);
        EXPECT_EQ(table.dal.update(record.data(), length, ids.data(), 2), 1U);
        EXPECT_EQ(table.dal.remove(record.data(), length), 1U);
        EXPECT_EQ(table.dal.get_next(store_iterator(), buffer.data(), length), 1U);
        EXPECT_EQ(table.dal.get_next(fast_handle(), buffer.data(), length), 1U);
        for (std::uint32_t index = 0; index <= expected.keys.size(); ++index) {
            EXPECT_EQ(table.dal.create_iter(index, record.data(), length), nullptr);
            EXPECT_EQ(table.dal.count_by_key(index, record.data(), length, &count), 1U);
            EXPECT_EQ(table.dal.count_by_key(index, nullptr, length, &count), 1U);
        }
        EXPECT_EQ(table.dal.update(nullptr, length, ids.data(), 1), 1U)
            << "the length is checked first";
    }
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_EQ(buffer, record);
    EXPECT_EQ(block().in_use(), 0);
    EXPECT_EQ(block().delivered(), 0);
}

TEST_P(GenericInterface, CreateIterAcceptsANullRecordWithAnyLength) {
    std::vector<std::uint32_t> lengths = wrong_lengths();
    lengths.push_back(size);
    for (const std::uint32_t length : lengths) {
        platform().calls.clear();
        EXPECT_EQ(table.dal.create_iter(0, nullptr, length), store_iterator());
        only_call(Op::create_iterator);
        for (std::uint32_t index = 1; index <= expected.keys.size(); ++index) {
            EXPECT_EQ(table.dal.create_iter(index, nullptr, length), nullptr);
        }
        EXPECT_EQ(platform().calls.size(), 1U);
    }
}

L2VPN_TEST_TYPED_TABLES(GenericInterface, any_table);

} // namespace
} // namespace l2vpn::test
