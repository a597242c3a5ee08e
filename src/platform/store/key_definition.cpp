// SPDX-License-Identifier: MIT
#include "platform/store/key_definition.h"

namespace l2vpn::platform {

namespace {
constexpr std::size_t longest_segment = 2 * sizeof(Word);
}

std::size_t max_segments(const KeyLayout &key) {
    return key.members.size() + key.length / longest_segment;
}

KeyDefinition define_key(const TableLayout &table, std::size_t index, KeySegment *segments) {
    const KeyLayout &key = table.keys[index];
    const std::uint32_t flags = index == 0 ? 1 : 9;
    KeyDefinition plan{
        static_cast<std::uint32_t>(index << 24) | flags << 16 | key.length, key.length, {}, {}};
    KeySegment *last = nullptr;
    std::size_t at = 0;
    const auto add = [&](std::size_t record, std::size_t bytes) {
        // A member that follows the one before in the record, too, lengthens its segment.
        if (last != nullptr && last->record + last->bytes == record &&
            last->bytes + bytes <= longest_segment) {
            last->bytes = static_cast<std::uint16_t>(last->bytes + bytes);
        } else {
            last = last == nullptr ? &plan.head : segments++;
            *last = {static_cast<std::uint16_t>(at), static_cast<std::uint16_t>(record),
                     static_cast<std::uint16_t>(bytes)};
        }
        at += bytes;
    };
    const KeySegment *const rest = segments;
    for (const KeyMember &member : key.members)
        for (std::size_t done = 0; done < member.width; done += longest_segment)
            add(member.offset + done, std::min(member.width - done, longest_segment));
    plan.rest = {rest, segments};
    return plan;
}

} // namespace l2vpn::platform
