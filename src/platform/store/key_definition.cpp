// SPDX-License-Identifier: MIT
#include "platform/store/key_definition.h"

#include <algorithm>

namespace l2vpn::platform {

namespace {
constexpr std::size_t max_segment_bytes = 2 * sizeof(Word);
}

std::size_t max_segments(const KeyLayout &key) {
    return key.members.size() + key.length / max_segment_bytes;
}

KeyDefinition define_key(const TableLayout &table, std::size_t index, KeySegment *rest) {
    const KeyLayout &layout = table.keys[index];
    const std::uint32_t flags = index == 0 ? 1 : 9;
    KeyDefinition key{static_cast<std::uint32_t>(index << 24) | flags << 16 | layout.length,
                      layout.length,
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
            *last = {static_cast<std::uint16_t>(at), static_cast<std::uint16_t>(record),
                     static_cast<std::uint16_t>(bytes)};
        }
        at += bytes;
    };
    for (const KeyMember &member : layout.members)
        for (std::size_t done = 0; done < member.width; done += max_segment_bytes)
            add(member.offset + done, std::min(member.width - done, max_segment_bytes));
    key.rest = {rest, end};
    return key;
}

} // namespace l2vpn::platform
