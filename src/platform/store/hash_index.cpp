// SPDX-License-Identifier: MIT
#include "platform/store/hash_index.h"

namespace l2vpn::platform {

bool HashIndex::reserve(const Allocator &allocator, Arena &arena, SeqLock &lock, Hash hash) {
    if (shape_ == 0) {
        if (!pages_at_.reserve(allocator, arena, 0))
            return false;
        __atomic_store_n(&shape_, shape_of(1), __ATOMIC_RELEASE);
    }
    const std::uint32_t unsplit = std::bit_floor(pages());
    const std::uint32_t split = pages() - unsplit;
    if (entries_ >= Word{split_from} * unsplit + Word{split_step} * split &&
        !split_next_page(allocator, arena, lock))
        return false;
    const Page &page = page_of(hash);
    return page.count < page_size ||
           (page.overflow != nullptr && page.overflow->count < page_size) ||
           reserve_overflow(allocator, arena, 1);
}

// The two pages that replace the old one are filled before the write section, because no reader can
// reach them yet.
bool HashIndex::split_next_page(const Allocator &allocator, Arena &arena, SeqLock &lock) {
    const std::uint32_t added = pages();
    const std::uint32_t bit = std::bit_floor(added);
    Page &old = pages_at_[added - bit];
    std::uint32_t overflow = 0;
    for (const Page *page = old.overflow; page != nullptr; page = page->overflow)
        ++overflow;
    if (!reserve_overflow(allocator, arena, overflow) ||
        !pages_at_.reserve(allocator, arena, added))
        return false;
    Page kept{};
    Page &moved = pages_at_[added];
    for (const Page *page = &old; page != nullptr; page = page->overflow)
        for (const IndexLine &line : page->lines)
            for (std::uint32_t entry = 0; entry < line.count(); ++entry) {
                const Hash hash = line.hash(entry);
                insert((hash & bit) != 0 ? moved : kept, hash, line.record(entry));
            }
    Page *replaced = old.overflow;
    {
        const SeqLock::WriteSection section(lock);
        for (std::uint32_t at = 0; at < lines_per_page; ++at)
            old.lines[at].assign(kept.lines[at]);
        __atomic_store_n(&old.overflow, kept.overflow, __ATOMIC_RELEASE);
        old.count = kept.count;
        __atomic_store_n(&shape_, shape_of(added + 1), __ATOMIC_RELEASE);
    }
    while (replaced != nullptr) {
        Page *const next = replaced->overflow;
        put_free_page(replaced);
        replaced = next;
    }
    return true;
}

void HashIndex::insert(Hash hash, RecordId id) {
    insert(page_of(hash), hash, id);
    ++entries_;
}

void HashIndex::insert(Page &page, Hash hash, RecordId id) {
    if (page.count < page_size) {
        std::uint32_t at = home(hash);
        while (page.lines[at].full())
            at = (at + 1) % lines_per_page;
        page.lines[at].set(page.lines[at].count(), hash, id);
        ++page.count;
        return;
    }
    if (page.overflow == nullptr || page.overflow->count == page_size) {
        Page *const added = take_free_page();
        store(added->overflow, page.overflow);
        __atomic_store_n(&page.overflow, added, __ATOMIC_RELEASE);
    }
    Page &first = *page.overflow;
    first.lines[first.count / IndexLine::size].set(first.count % IndexLine::size, hash, id);
    ++first.count;
}

void HashIndex::erase(Hash hash, RecordId id) {
    Page &page = page_of(hash);
    const Place gap = place_of(hash, id);
    --entries_;
    if (page.overflow == nullptr) {
        fill_gap(page, gap);
        --page.count;
        return;
    }
    // All lines of the page are full, so that any entry may fill the gap.
    Page &first = *page.overflow;
    --first.count;
    IndexLine &line = first.lines[first.count / IndexLine::size];
    const std::uint32_t last = first.count % IndexLine::size;
    gap.line->set(gap.entry, line.hash(last), line.record(last));
    line.clear(last);
    if (first.count == 0) {
        store(page.overflow, first.overflow);
        put_free_page(&first);
    }
}

/// Erases an entry. A line that was full gets an entry back that is in a later line for lack of
/// room, because a line that is not full ends searches.
void HashIndex::fill_gap(Page &page, Place gap) {
    for (;;) {
        const bool full = gap.line->full();
        const std::uint32_t last = gap.line->count() - 1;
        gap.line->set(gap.entry, gap.line->hash(last), gap.line->record(last));
        gap.line->clear(last);
        if (!full)
            return;
        const auto here = static_cast<std::uint32_t>(gap.line - page.lines);
        const Place free{gap.line, last};
        gap.line = nullptr;
        for (std::uint32_t distance = 1; distance < lines_per_page; ++distance) {
            const std::uint32_t at = (here + distance) % lines_per_page;
            IndexLine &line = page.lines[at];
            const std::uint32_t count = line.count();
            std::uint32_t entry = 0;
            while (entry < count && (at - home(line.hash(entry))) % lines_per_page < distance)
                ++entry;
            if (entry < count) {
                gap = {&line, entry};
                break;
            }
            if (!line.full())
                return;
        }
        if (gap.line == nullptr)
            return;
        free.line->set(free.entry, gap.line->hash(gap.entry), gap.line->record(gap.entry));
    }
}

void HashIndex::replace(Hash hash, RecordId id, RecordId by) {
    const Place place = place_of(hash, id);
    place.line->set(place.entry, hash, by);
}

HashIndex::Place HashIndex::place_of(Hash hash, RecordId id) const {
    Place place{};
    find_in(page_of(hash), hash, [&](const IndexLine &line, std::uint32_t entry) {
        place = {const_cast<IndexLine *>(&line), entry};
        return line.record(entry) == id;
    });
    return place;
}

bool HashIndex::reserve_overflow(const Allocator &allocator, Arena &arena, std::uint32_t count) {
    while (free_count_ < count) {
        auto *const page = static_cast<Page *>(arena.allocate(allocator, sizeof(Page)));
        if (page == nullptr)
            return false;
        std::memset(static_cast<void *>(page), 0, sizeof(Page));
        put_free_page(page);
        store(overflow_pages_, overflow_pages_ + 1);
    }
    return true;
}

HashIndex::Page *HashIndex::take_free_page() {
    Page *const page = free_list_;
    free_list_ = page->overflow;
    --free_count_;
    for (IndexLine &line : page->lines)
        line.clear();
    page->count = 0;
    return page;
}

void HashIndex::put_free_page(Page *page) {
    store(page->overflow, free_list_);
    free_list_ = page;
    ++free_count_;
}

} // namespace l2vpn::platform
