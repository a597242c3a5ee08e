// SPDX-License-Identifier: MIT
#include "platform/store/index.h"

namespace l2vpn::platform {

std::uint32_t Index::count(const RecordPool &records, Hash hash, PackedKey value) const {
    const RecordId head = find(records, hash, value).id;
    if (head == no_record || is_primary())
        return head == no_record ? 0 : 1;
    const ChainLink *const link = records.try_link(head, key_.number());
    if (link == nullptr) // unreachable: except inside a write section
        return 0;        // unreachable: as the line above
    return load(link->count);
}

void Index::link(RecordPool &records, RecordId id) {
    const RecordId head = pending_.chain;
    if (head == no_record)
        hash_index_.insert(pending_.hash, id);
    if (is_primary())
        return;
    ChainLink &link = link_of(records, id);
    if (head == no_record) {
        store(link.next, id);
        store(link.previous, id);
        store(link.count, 1U);
        return;
    }
    ChainLink &first = link_of(records, head);
    store(link.next, head);
    store(link.previous, first.previous);
    store(link.count, 0U);
    store(link_of(records, first.previous).next, id);
    store(first.previous, id);
    store(first.count, first.count + 1);
}

void Index::unlink(RecordPool &records, RecordId id, Hash hash) {
    skip_in_cursors(records, id);
    if (is_primary() || link_of(records, id).count == 1) {
        hash_index_.erase(hash, id);
        return;
    }
    const ChainLink &link = link_of(records, id);
    if (link.count != 0) {
        store(link_of(records, link.next).count, link.count - 1);
        hash_index_.replace(hash, id, link.next);
    } else {
        ChainLink &first = link_of(records, find(records, hash, records.words(id)).id);
        store(first.count, first.count - 1);
    }
    store(link_of(records, link.previous).next, link.next);
    store(link_of(records, link.next).previous, link.previous);
}

/// Moves the open cursors off a record that leaves its chain.
void Index::skip_in_cursors(const RecordPool &records, RecordId id) {
    for (Cursor *cursor = newest_; cursor != nullptr; cursor = cursor->older) {
        if (cursor->next == id)
            advance(*cursor, records);
        else if (cursor->next != no_record && cursor->last == id)
            cursor->last = link_of(records, id).previous;
    }
}

void Index::open(Cursor &cursor, const RecordPool &records, PackedKey value) {
    cursor.index = this;
    cursor.newer = nullptr;
    cursor.older = newest_;
    if (newest_ != nullptr)
        newest_->newer = &cursor;
    newest_ = &cursor;
    const RecordId head = find(records, key_.hash(value), value).id;
    cursor.next = head;
    cursor.last = head == no_record || is_primary() ? head : link_of(records, head).previous;
}

void Index::close(Cursor &cursor) {
    (cursor.newer != nullptr ? cursor.newer->older : newest_) = cursor.older;
    if (cursor.older != nullptr)
        cursor.older->newer = cursor.newer;
}

RecordId Index::advance(Cursor &cursor, const RecordPool &records) const {
    const RecordId id = cursor.next;
    if (id != no_record)
        cursor.next = id == cursor.last ? no_record : link_of(records, id).next;
    return id;
}

} // namespace l2vpn::platform
