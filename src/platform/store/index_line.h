// SPDX-License-Identifier: MIT
// A cache line of a hash index: up to eight entries, each a hash and a record.
#pragma once

#include "platform/store/key_definition.h"

namespace l2vpn::platform {

/// A record's slot in the record pool.
using RecordId = std::uint32_t;
constexpr RecordId no_record = UINT32_MAX;

class alignas(64) IndexLine {
public:
    static constexpr std::uint32_t size = 8;

    // Optimistic readers may call these.

    /// Bit n is set if entry n has the hash. A free entry may have it, too: its record is
    /// no_record.
    [[nodiscard]] std::uint32_t match(Hash hash) const {
        using Hashes [[gnu::vector_size(16)]] = std::uint32_t;
        const auto low = reinterpret_cast<Hashes>(load_vector(&hashes_[0])) == hash;
        const auto high = reinterpret_cast<Hashes>(load_vector(&hashes_[2])) == hash;
#if defined(__x86_64__)
        using Signs [[gnu::vector_size(16)]] = float;
        return static_cast<std::uint32_t>(__builtin_ia32_movmskps(reinterpret_cast<Signs>(low)) |
                                          __builtin_ia32_movmskps(reinterpret_cast<Signs>(high))
                                              << 4);
#else
        const Hashes bits = (reinterpret_cast<Hashes>(low) & Hashes{1, 2, 4, 8}) |
                            (reinterpret_cast<Hashes>(high) & Hashes{16, 32, 64, 128});
        return bits[0] | bits[1] | bits[2] | bits[3];
#endif
    }
    [[nodiscard]] RecordId record(std::uint32_t entry) const {
        return load(records_[entry]) - 1;
    }
    /// Entries are contiguous, from the first on.
    [[nodiscard]] bool full() const {
        return load(records_[size - 1]) != 0;
    }

    // The functions below require the write lock.

    [[nodiscard]] Hash hash(std::uint32_t entry) const {
        return static_cast<Hash>(hashes_[entry / 2] >> entry % 2 * 32);
    }
    [[nodiscard]] std::uint32_t count() const {
        std::uint32_t count = 0;
        while (count < size && records_[count] != 0)
            ++count;
        return count;
    }
    void set(std::uint32_t entry, Hash hash, RecordId record) {
        const std::uint32_t shift = entry % 2 * 32;
        const Word other = hashes_[entry / 2] & Word{UINT32_MAX} << (32 - shift);
        store(hashes_[entry / 2], other | Word{hash} << shift);
        store(records_[entry], record + 1);
    }
    void clear(std::uint32_t entry) {
        store(records_[entry], RecordId{0});
    }
    void clear() {
        assign(IndexLine{});
    }
    void assign(const IndexLine &other) {
        for (std::uint32_t i = 0; i < size / 2; ++i)
            store(hashes_[i], other.hashes_[i]);
        for (std::uint32_t i = 0; i < size; ++i)
            store(records_[i], other.records_[i]);
    }

private:
    Word hashes_[size / 2] = {};
    RecordId records_[size] = {}; ///< plus 1; 0: the entry is free
};

} // namespace l2vpn::platform
