// SPDX-License-Identifier: MIT
// Hash table from the hash of a key value to a record: linear hashing. The lower bits of the hash
// select a page, the upper bits a home line in the page; entries that do not fit into their home
// line go to the next one that has room. One page at a time is split in two, at a pace that depends
// on the number of entries only; a page that is full nevertheless gets overflow pages. Colliding
// hashes thus cost time, but little memory, and no insertion fails because of them.
#pragma once

#include "platform/store/chunked_array.h"
#include "platform/store/index_line.h"
#include "platform/store/seqlock.h"

namespace l2vpn::platform {

class HashIndex {
public:
    // Optimistic readers may call these; inside a write section the results are meaningless, and
    // ids may be of no record.

    struct Match {
        RecordId id;    ///< of the first entry in the home line that has the hash, or no_record
        bool exhausted; ///< whether no other line has entries of the hash
    };

    /// Nearly always finds what find() would.
    [[nodiscard]] Match first_match(Hash hash) const {
        const Word shape = __atomic_load_n(&shape_, __ATOMIC_ACQUIRE);
        if (shape == 0) [[unlikely]]
            return {no_record, true};
        const IndexLine &line = home_line(hash, shape);
        const std::uint32_t found = line.match(hash);
        if (found == 0)
            return {no_record, !line.full()};
        return {line.record(static_cast<std::uint32_t>(std::countr_zero(found))), false};
    }
    /// Finds the record with the hash for which matches(id) is true. Returns whether there is one.
    template <class Matches>
    bool find(Hash hash, const Matches &matches) const {
        return load(shape_) != 0 &&
               find_in(page_of(hash), hash, [&](const IndexLine &line, std::uint32_t entry) {
                   return matches(line.record(entry));
               });
    }
    /// Prefetches what the functions above load first.
    void prefetch(Hash hash) const {
        const Word shape = __atomic_load_n(&shape_, __ATOMIC_ACQUIRE);
        if (shape != 0)
            __builtin_prefetch(&home_line(hash, shape));
    }

    // The functions below require the write lock.

    /// Reserves an entry for the hash. Returns false if allocation fails. May split a page, in a
    /// write section of its own.
    [[nodiscard]] bool reserve(const Allocator &allocator, Arena &arena, SeqLock &lock, Hash hash);

    // The functions below require a write section.

    /// Inserts a record into an entry that reserve() has reserved.
    void insert(Hash hash, RecordId id);
    /// Erases a record that the index holds.
    void erase(Hash hash, RecordId id);
    /// Replaces a record that the index holds by another one with the same hash.
    void replace(Hash hash, RecordId id, RecordId by);

private:
    static constexpr std::uint32_t line_bits = 6;
    static constexpr std::uint32_t lines_per_page = 1U << line_bits;
    static constexpr std::uint32_t page_size = lines_per_page * IndexLine::size;

    /// A round of splits begins when the pages are 55 % full, and ends before any that has not been
    /// split is more than 70 % full on average, so that few entries are outside their home line.
    static constexpr std::uint32_t split_from = page_size * 55 / 100;
    static constexpr std::uint32_t split_step = page_size * 70 / 100 - split_from;

    /// Entries are in the home line or in lines after it, in cyclic order; the lines between are
    /// full. An overflow page is filled from line 0 on, without regard to the home line.
    struct Page {
        IndexLine lines[lines_per_page];
        /// Null unless the page is full. Of the overflow pages, only the first may have room.
        Page *overflow;
        std::uint32_t count; ///< of the entries in `lines`
    };

    struct Place {
        IndexLine *line;
        std::uint32_t entry;
    };

    /// The upper bits, because the lower ones are equal in a page.
    static constexpr std::uint32_t home(Hash hash) { return hash >> (32 - line_bits); }

    // With 2^n + s pages, those below s have been split in this round, by bit n of the hash. The
    // number of pages is published together with the mask of n + 1 bits.
    static constexpr Word shape_of(std::uint32_t pages) {
        return Word{~std::uint32_t{0} >> std::countl_zero((pages - 1) | 1)} << 32 | pages;
    }
    static constexpr std::uint32_t page_number(Hash hash, Word shape) {
        const auto pages = static_cast<std::uint32_t>(shape);
        const auto mask = static_cast<std::uint32_t>(shape >> 32);
        return hash & mask >> ((hash & mask) >= pages ? 1 : 0); // no branch, it would be random
    }

    [[nodiscard]] const IndexLine &home_line(Hash hash, Word shape) const {
        return pages_at_[page_number(hash, shape)].lines[home(hash)];
    }
    [[nodiscard]] std::uint32_t pages() const { return static_cast<std::uint32_t>(shape_); }
    [[nodiscard]] Page &page_of(Hash hash) const {
        return pages_at_[page_number(hash, __atomic_load_n(&shape_, __ATOMIC_ACQUIRE))];
    }

    /// Calls found(line, entry) for entries with the hash, until it returns true.
    template <class Found>
    bool find_in(const Page &page, Hash hash, Found found) const {
        const auto find_in_line = [&](const IndexLine &line) {
            for (std::uint32_t matches = line.match(hash); matches != 0; matches &= matches - 1)
                if (found(line, static_cast<std::uint32_t>(std::countr_zero(matches))))
                    return true;
            return false;
        };
        std::uint32_t at = home(hash);
        for (std::uint32_t n = 0; n < lines_per_page; ++n) {
            const IndexLine &line = page.lines[at];
            if (find_in_line(line))
                return true;
            if (!line.full()) [[likely]]
                return false;
            at = (at + 1) % lines_per_page;
        }
        // A racing reader may get from one chain to another, but not to more pages than there are.
        std::uint32_t left = load(overflow_pages_);
        const Page *more = __atomic_load_n(&page.overflow, __ATOMIC_ACQUIRE);
        for (; more != nullptr && left != 0; --left) {
            for (const IndexLine &line : more->lines) {
                if (find_in_line(line))
                    return true;
                if (!line.full())
                    break;
            }
            more = __atomic_load_n(&more->overflow, __ATOMIC_ACQUIRE);
        }
        return false;
    }

    [[nodiscard]] Place place_of(Hash hash, RecordId id) const;
    [[nodiscard]] bool split_next_page(const Allocator &allocator, Arena &arena, SeqLock &lock);
    [[nodiscard]] bool reserve_overflow(const Allocator &allocator, Arena &arena,
                                        std::uint32_t count);
    Page *take_free_page();
    void put_free_page(Page *page);
    void insert(Page &page, Hash hash, RecordId id);
    static void fill_gap(Page &page, Place gap);

    ChunkedArray<Page> pages_at_;
    Word shape_ = 0; ///< 0: no pages
    std::uint32_t entries_ = 0;
    std::uint32_t overflow_pages_ = 0; ///< in use or free
    std::uint32_t free_count_ = 0;     ///< of overflow pages
    Page *free_list_ = nullptr;        ///< of overflow pages, linked through `overflow`
};

} // namespace l2vpn::platform
