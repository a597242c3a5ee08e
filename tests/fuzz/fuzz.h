// SPDX-License-Identifier: MIT
// Shared by the fuzz targets: decoding an input, and aborting when a check fails.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <source_location>
#include <span>
#include <vector>

/// Runs one input. Called by libFuzzer or by replay.cpp.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace l2vpn::test {

/// Decodes an input from front to back. Past its end, all bytes read as 0.
class Input {
public:
    Input(const std::uint8_t *data, std::size_t size) : rest_(data, size) {}

    [[nodiscard]] bool empty() const { return rest_.empty(); }

    template <class Integer>
    Integer number() {
        Integer result = 0;
        const std::span taken = take(sizeof result);
        std::copy(taken.begin(), taken.end(), reinterpret_cast<std::uint8_t *>(&result));
        return result;
    }
    std::uint8_t byte() { return number<std::uint8_t>(); }

    /// A number less than `count`, which is at most 256.
    std::size_t below(std::size_t count) { return byte() % count; }
    /// True for one in `count` values of the next byte.
    bool one_in(std::size_t count) { return below(count) == count - 1; }

    std::vector<std::uint8_t> bytes(std::size_t count) {
        const std::span taken = take(count);
        std::vector<std::uint8_t> result(taken.begin(), taken.end());
        result.resize(count);
        return result;
    }

private:
    std::span<const std::uint8_t> take(std::size_t count) {
        const std::span taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }

    std::span<const std::uint8_t> rest_;
};

/// A heap block of exactly `size` bytes, so that a sanitizer detects any access out of bounds.
class Exact {
public:
    Exact(std::size_t size, std::uint8_t fill)
        : size_(size), bytes_(std::make_unique<std::uint8_t[]>(size)) {
        std::fill_n(bytes_.get(), size, fill);
    }
    explicit Exact(std::span<const std::uint8_t> contents) : Exact(contents.size(), 0) {
        std::copy(contents.begin(), contents.end(), bytes_.get());
    }

    [[nodiscard]] std::uint8_t *data() const { return bytes_.get(); }
    [[nodiscard]] std::span<const std::uint8_t> contents() const { return {bytes_.get(), size_}; }

private:
    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> bytes_;
};

/// Aborts, which libFuzzer reports as a crash, unless `condition` holds.
inline void require(bool condition, const char *what,
                    const std::source_location &at = std::source_location::current()) {
    if (condition)
        return;
    (void)std::fprintf(stderr, "%s:%u: %s\n", at.file_name(), at.line(), what);
    std::abort();
}

} // namespace l2vpn::test
