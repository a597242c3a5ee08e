// SPDX-License-Identifier: MIT
// What the fuzz targets share: taking an input apart, and stopping where a check fails.
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

/// Runs one input; an engine (libFuzzer, or replay.cpp) calls it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace l2vpn::test {

/// Takes an input apart from its beginning. Behind its end, everything is 0.
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

    /// A number below a count of at most 256.
    std::size_t below(std::size_t count) { return byte() % count; }
    /// True for one value of a byte in so many.
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

/// Memory of exactly so many bytes, so that a sanitizer sees every step beyond it.
class Exact {
public:
    Exact(std::size_t size, std::uint8_t filled_with)
        : size_(size), bytes_(std::make_unique<std::uint8_t[]>(size)) {
        std::fill_n(bytes_.get(), size, filled_with);
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

/// Ends the program, as an engine wants it, if what must hold does not.
inline void require(bool holds, const char *what,
                    const std::source_location &at = std::source_location::current()) {
    if (holds)
        return;
    (void)std::fprintf(stderr, "%s:%u: %s\n", at.file_name(), at.line(), what);
    std::abort();
}

} // namespace l2vpn::test
