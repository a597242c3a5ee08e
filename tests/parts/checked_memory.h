// SPDX-License-Identifier: MIT
// A memory service that fills its blocks with garbage, notices writes around them, and fails on
// demand.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/store/arena.h"

namespace l2vpn::test {

/// One at a time: the service's functions have no context.
class CheckedMemory {
public:
    CheckedMemory() {
        blocks.clear();
        left = SIZE_MAX;
    }
    ~CheckedMemory() {
        for (const Block &block : blocks) {
            EXPECT_TRUE(block.red_zones_intact()) << "around a block of " << block.size;
        }
        blocks.clear();
    }
    CheckedMemory(const CheckedMemory &) = delete;
    CheckedMemory &operator=(const CheckedMemory &) = delete;

    /// Fails all allocations after the next `successes`.
    static void fail_after(std::size_t successes) { left = successes; }
    static void stop_failing() { left = SIZE_MAX; }

    [[nodiscard]] static std::size_t allocations() { return blocks.size(); }
    /// The size of the newest block.
    [[nodiscard]] static std::size_t last_size() { return blocks.back().size; }
    [[nodiscard]] static std::size_t bytes() {
        std::size_t sum = 0;
        for (const Block &block : blocks)
            sum += block.size;
        return sum;
    }
    [[nodiscard]] static bool has_block(std::size_t size) {
        return std::any_of(blocks.begin(), blocks.end(),
                           [size](const Block &block) { return block.size == size; });
    }
    /// Whether the range is a part of one block.
    [[nodiscard]] static bool owns(const void *at, std::size_t size) {
        return std::any_of(blocks.begin(), blocks.end(), [&](const Block &block) {
            const char *const first = block.memory.get() + red_zone;
            return at >= first && static_cast<const char *>(at) + size <= first + block.size;
        });
    }

    [[nodiscard]] const platform::Allocator &allocator() const { return allocator_; }

private:
    static constexpr std::size_t red_zone = 64;
    static constexpr char garbage = '\xA5';

    struct Block {
        std::unique_ptr<char[]> memory;
        std::size_t size;

        [[nodiscard]] bool red_zones_intact() const {
            const auto intact = [](const char *from) {
                return std::all_of(from, from + red_zone,
                                   [](char byte) { return byte == garbage; });
            };
            return intact(memory.get()) && intact(memory.get() + red_zone + size);
        }
    };

    static inline std::vector<Block> blocks;
    static inline std::size_t left = SIZE_MAX;

    static void *allocate(std::size_t size) {
        if (left == 0)
            return nullptr;
        --left;
        const std::size_t whole = size + 2 * red_zone;
        blocks.push_back({std::unique_ptr<char[]>(new char[whole]), size});
        std::memset(blocks.back().memory.get(), garbage, whole);
        return blocks.back().memory.get() + red_zone;
    }
    static void release(void *) {}

    const L2vpnDbModuleIntf module_{
        {reinterpret_cast<std::uintptr_t>(allocate), reinterpret_cast<std::uintptr_t>(release)}, 0};
    const platform::Allocator allocator_{&module_};
};

} // namespace l2vpn::test
