// SPDX-License-Identifier: MIT
#include "platform/store/index.h"

namespace l2vpn::platform {

std::uint32_t Index::count(const RecordPool &records, PackedKey value) const {
    const RecordId head = find(records, key_.probe(value)).id;
    if (head == no_record || is_primary())
        return head == no_record ? 0 : 1;
    const RecordId tail = load(link_of(records, head).previous);
    if (!records.exists(tail)) // unreachable: except inside a write section
        return 0;              // unreachable: as the line above
    return load(link_of(records, tail).next) & ~ChainLink::chain_end;
}

RecordId Index::stage(const RecordPool &records, const char *record) {
    const Probe probe = key_.probe(record);
    pending_.hash = probe.hash;
    pending_.head = find(records, probe).id;
    if (!is_primary() && pending_.head != no_record)
        __builtin_prefetch(&link_of(records, link_of(records, pending_.head).previous));
    return pending_.head;
}

void Index::stage_unlink(const RecordPool &records, CursorTable &cursors, RecordId id) {
    const Probe probe = key_.probe(static_cast<const Word *>(records.words(id)));
    pending_.old_hash = probe.hash;
    pending_.old_head = id;
    if (!is_primary()) {
        const ChainLink &link = link_of(records, id);
        if (!link_of(records, link.previous).is_tail())
            pending_.old_head = find(records, probe).id;
        __builtin_prefetch(&link_of(records, link_of(records, pending_.old_head).previous));
        if (!link.is_tail())
            __builtin_prefetch(&link_of(records, link.next));
    }
    cursors.visit_group(this, pending_.old_hash, [&](Cursor &cursor) {
        if (cursor.next == id)
            advance(cursor, cursors, records);
        else if (cursor.last == id)
            cursor.last = link_of(records, id).previous;
    });
}

void Index::link(RecordPool &records, RecordId id) {
    if (pending_.head == no_record)
        hash_index_.insert(pending_.hash, id);
    if (is_primary())
        return;
    ChainLink &link = link_of(records, id);
    if (pending_.head == no_record) {
        store(link.previous, id);
        store(link.next, ChainLink::chain_end | 1);
        return;
    }
    ChainLink &first = link_of(records, pending_.head);
    ChainLink &tail = link_of(records, first.previous);
    store(link.next, tail.next + 1);
    store(link.previous, first.previous);
    store(tail.next, id);
    store(first.previous, id);
}

void Index::unlink(RecordPool &records, RecordId id) {
    const RecordId head = pending_.old_head;
    const ChainLink link = is_primary() ? ChainLink{} : link_of(records, id);
    if (is_primary() || link.previous == id) { // the only record
        hash_index_.erase(pending_.old_hash, id);
        return;
    }
    ChainLink &first = link_of(records, head);
    const RecordId tail = first.previous;
    const std::uint32_t length = link_of(records, tail).next - 1;
    if (id == tail) {
        store(first.previous, link.previous);
        store(link_of(records, link.previous).next, length);
        return;
    }
    store(link_of(records, link.next).previous, link.previous);
    if (id == head)
        hash_index_.replace(pending_.old_hash, id, link.next);
    else
        store(link_of(records, link.previous).next, link.next);
    store(link_of(records, tail).next, length);
}

void Index::open(Cursor &cursor, CursorTable &cursors, const RecordPool &records, PackedKey value) {
    cursor.index = this;
    const Probe probe = key_.probe(value);
    cursor.hash = probe.hash;
    cursor.next = find(records, probe).id;
    if (cursor.next == no_record)
        return;
    cursor.last = is_primary() ? cursor.next : link_of(records, cursor.next).previous;
    cursors.add_to_group(cursor);
}

RecordId Index::advance(Cursor &cursor, CursorTable &cursors, const RecordPool &records) const {
    const RecordId id = cursor.next;
    if (id == no_record)
        return id;
    if (id != cursor.last) {
        cursor.next = link_of(records, id).next;
        return id;
    }
    cursor.next = no_record;
    cursors.remove_from_group(cursor);
    return id;
}

} // namespace l2vpn::platform
