// SPDX-License-Identifier: MIT
#include "platform/store/key_definition.h"

#include <algorithm>
#include <bit>

#include "platform/store/random.h"

namespace l2vpn::platform {

namespace {
constexpr std::size_t max_segment_bytes = 2 * sizeof(Word);

/// Selects the lower `bytes` of a word; all if there are more, none if there are fewer than 1.
constexpr Word mask(int bytes) {
    return bytes <= 0 ? 0 : ~Word{0} >> (64 - 8 * std::min(bytes, 8));
}

/// Sets what depends on the place and the length.
void complete(KeySegment &segment) {
    segment.first_mask = mask(segment.bytes);
    segment.last_mask = mask(segment.bytes - 8);
    fill_random(segment.random, sizeof segment.random);
}

} // namespace

std::size_t max_segments(const KeyLayout &key) {
    return key.members.size() + key.length / max_segment_bytes;
}

KeyDefinition define_key(const TableLayout &table, std::size_t index, KeySegment *rest) {
    const KeyLayout &layout = table.keys[index];
    const std::uint32_t flags = index == 0 ? 1 : 9;
    KeyDefinition key{static_cast<std::uint32_t>(index << 24) | flags << 16 | layout.length,
                      layout.length,
                      0,
                      {},
                      {}};
    KeySegment *last = nullptr;
    KeySegment *end = rest;
    std::size_t at = 0;
    const auto add = [&](std::size_t record, std::size_t bytes) {
        // A member that follows the previous one in the record, too, extends the last segment.
        if (last != nullptr && last->record + last->bytes == record &&
            last->bytes + bytes <= max_segment_bytes) {
            last->bytes = static_cast<std::uint16_t>(last->bytes + bytes);
        } else {
            last = last == nullptr ? &key.first : end++;
            *last = {};
            last->key = static_cast<std::uint16_t>(at);
            last->record = static_cast<std::uint16_t>(record);
            last->bytes = static_cast<std::uint16_t>(bytes);
        }
        last->opaque |= std::bit_floor(bytes) != bytes;
        at += bytes;
    };
    for (const KeyMember &member : layout.members)
        for (std::size_t done = 0; done < member.width; done += max_segment_bytes)
            add(member.offset + done, std::min(member.width - done, max_segment_bytes));
    complete(key.first);
    std::for_each(rest, end, complete);
    key.rest = {rest, end};
    fill_random(&key.random, sizeof key.random);
    return key;
}

} // namespace l2vpn::platform
