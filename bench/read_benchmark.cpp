// SPDX-License-Identifier: MIT
// Reads by primary key, against a lookup in a hash map and a copy of the record.
#include <array>
#include <cstring>
#include <memory>
#include <memory_resource>
#include <new>
#include <random>
#include <string>
#include <unordered_map>

#include <absl/container/flat_hash_map.h>
#include <sys/mman.h>

#include "bench/benchmarks.h"
#include "bench/reference_calls.h"
#include "bench/sample_records.h"
#include "bench/slice.h"
#include "l2vpn_db/platform.h"

namespace l2vpn::bench {

namespace {

struct StoredRecord {
    char bytes[stored_length];
};

/// Pair-multiply-shift over two overlapping words of the key, as in the store, with fixed factors.
struct KeyHash {
    static constexpr std::array<std::uint64_t, 5> factors{0x9E3779B97F4A7C15, 0xD1B54A32D192ED03,
                                                          0x8CB92BA72F3D8DD7, 0xAEF17502108EF2D9,
                                                          0xF1357AEA2E62A9C5};

    std::size_t operator()(const PrimaryKey &key) const noexcept {
        return (product(0, key.bytes) + product(2, key.bytes + 1) + factors[4]) >> 32;
    }

private:
    static std::uint64_t product(std::size_t n, const char *bytes) {
        std::uint64_t word;
        std::memcpy(&word, bytes, sizeof word);
        return (factors[n] + (word >> 32)) * (factors[n + 1] + (word & UINT32_MAX));
    }
};

struct SameKey {
    bool operator()(const PrimaryKey &a, const PrimaryKey &b) const {
        return std::memcmp(a.bytes, b.bytes, sizeof a.bytes) == 0;
    }
};

using Map = std::unordered_map<PrimaryKey, StoredRecord, KeyHash, SameKey>;
using HugePageMap = std::pmr::unordered_map<PrimaryKey, StoredRecord, KeyHash, SameKey>;
using FlatMap = absl::flat_hash_map<PrimaryKey, StoredRecord, KeyHash, SameKey>;

/// Memory in huge pages, as in the store.
class HugePages : public std::pmr::memory_resource {
    static constexpr std::size_t page = std::size_t{2} << 20;

    void *do_allocate(std::size_t size, std::size_t /*alignment*/) override {
        const std::size_t whole = (size + page - 1) / page * page;
        void *const memory = std::aligned_alloc(page, whole);
        if (memory == nullptr)
            throw std::bad_alloc();
        madvise(memory, whole, MADV_HUGEPAGE);
        return memory;
    }
    void do_deallocate(void *memory, std::size_t /*size*/, std::size_t /*alignment*/) override {
        std::free(memory);
    }
    [[nodiscard]] bool do_is_equal(const memory_resource &other) const noexcept override {
        return this == &other;
    }
};

/// All containers of the records, and the destination of reads.
struct Subjects {
    /// Aligned, so that copies of all subjects touch equally many cache lines.
    alignas(64) StoredRecord copy;
    Map map;
    HugePages pages;
    std::pmr::monotonic_buffer_resource memory{std::size_t{64} << 20, &pages};
    HugePageMap huge_page_map{&memory};
    FlatMap flat_map;
    std::vector<PrimaryKey> keys;          ///< of all records
    std::vector<PrimaryKey> streamed_keys; ///< to read, in random order

    std::uint32_t key_id[4] = {0x0001'0009};
    L2vpnDbKeyData request{key_id, sizeof key_id, 0, nullptr, sizeof(PrimaryKey), 0};
    L2vpnDbRecData place{copy.bytes, stored_length, 0};
};

/// Always 0, but only known after the record has been read.
std::size_t dependent_zero(const StoredRecord &record) {
    return static_cast<unsigned char>(record.bytes[stored_length - 1]) / 255;
}

/// Draws random numbers of records. No two generators draw the same sequence.
class Draw {
public:
    explicit Draw(std::size_t size) : size_(size) {}

    std::uint32_t operator()() { return static_cast<std::uint32_t>(random_() * size_ >> 32); }

private:
    static inline std::uint32_t seeds = 0;

    std::uint64_t size_;
    std::mt19937 random_{++seeds}; // NOLINT(cert-msc32-c,cert-msc51-cpp): runs must be repeatable
};

/// Reads random records: draws the number, fetches the key. In the chained slices each key depends
/// on the previous record; in the streamed ones, the keys lie in the order of the reads.
template <class Read>
void add_slices(Slices &slices, const std::string &name, const std::shared_ptr<Subjects> &subjects,
                Read read) {
    const std::size_t size = subjects->keys.size();
    slices[name] = repeated([read, s = subjects.get(), subjects, draw = Draw(size)](
                                std::size_t) mutable { read(*s, s->keys[draw()]); });
    slices[name + ", chained"] = repeated([read, s = subjects.get(), subjects, draw = Draw(size),
                                           offset = std::size_t{0}](std::size_t) mutable {
        read(*s, s->keys[draw() + offset]);
        offset = dependent_zero(s->copy);
    });
    slices[name + ", streamed"] = repeated([read, s = subjects.get(), subjects](std::size_t n) {
        read(*s, s->streamed_keys[n % order_length]);
    });
}

template <class AnyMap>
void add_map(Slices &slices, const std::string &name, const std::shared_ptr<Subjects> &subjects,
             AnyMap Subjects::*map) {
    add_slices(slices, name, subjects, [map](Subjects &s, const PrimaryKey &key) {
        copy_bytes(s.copy.bytes, (s.*map).find(key)->second.bytes, stored_length);
    });
}

void add_store(Slices &slices, const std::string &name, const std::shared_ptr<Subjects> &subjects,
               L2vpnDbTblIntf &table) {
    add_slices(slices, name, subjects, [&table](Subjects &s, const PrimaryKey &key) {
        s.request.key = key.bytes;
        check(DAL_VELD_Read(&g_l2vpnDbModuleIntf, &table, &s.request, &s.place));
    });
}

Slices set_up(std::uint32_t size) {
    fill_table(size);
    const auto subjects = std::make_shared<Subjects>();
    subjects->map.reserve(size);
    subjects->huge_page_map.reserve(size);
    subjects->flat_map.reserve(size);
    for (std::uint32_t i = 0; i < size; ++i) {
        const L2vpnVplsPw record = pseudowire(i);
        StoredRecord stored{};
        L2VPN_DB_L2vpnVplsPwSetAllFields(&record, stored.bytes);
        const PrimaryKey key = primary_key(i);
        subjects->map.emplace(key, stored);
        subjects->huge_page_map.emplace(key, stored);
        subjects->flat_map.emplace(key, stored);
        subjects->keys.push_back(key);
    }
    for (const std::uint32_t i : random_order(size))
        subjects->streamed_keys.push_back(subjects->keys[i]);

    Slices slices;
    add_map(slices, "unordered_map", subjects, &Subjects::map);
    add_map(slices, "unordered_map, huge pages", subjects, &Subjects::huge_page_map);
    add_map(slices, "flat_hash_map", subjects, &Subjects::flat_map);
    add_store(slices, "store", subjects, g_l2vpnL2vpnVplsPwIntf);
    static L2vpnDbTblIntf uncounted = g_l2vpnL2vpnVplsPwIntf;
    uncounted.stat = nullptr;
    add_store(slices, "store without statistics", subjects, uncounted);
    slices["typed"] = repeated([draw = Draw(size), record = pseudowire(0)](std::size_t) mutable {
        record.pwTunnelId = draw();
        check(L2VPN_DB_L2vpnVplsPwRead(&record));
    });
    slices["empty call"] = empty_slice();
    return slices;
}

} // namespace

void measure_reads(const Scale &scale) {
    for (const std::uint32_t size : scale.sizes) {
        Worker worker([size] { return set_up(size); });
        const auto add = [&](const char *subject, const char *reference, Goal goal = information) {
            report({std::string("read: ") + subject, std::string("read: ") + reference, size,
                    compare(worker[subject], worker[reference], scale.slices, worker["empty call"]),
                    goal, subject == std::string("typed") ? "read" : "DAL_VELD_Read"});
        };
        const bool small = size < 100'000;
        add("store", "flat_hash_map", at_most(small ? 1.6 : 1.1));
        add("typed", "flat_hash_map", at_most(small ? 3.3 : 1.5));
        add("store", "unordered_map", at_most(small ? 1.3 : 1.0));
        add("store", "unordered_map, huge pages");
        add("store without statistics", "flat_hash_map");
        add("store, streamed", "flat_hash_map, streamed");
        add("store, chained", "flat_hash_map, chained");
        add("store, chained", "unordered_map, chained");
    }
}

} // namespace l2vpn::bench
