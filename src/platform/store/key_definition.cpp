// SPDX-License-Identifier: MIT
#include "platform/store/key_definition.h"

namespace l2vpn::platform {

namespace {
constexpr std::size_t longest_piece = 2 * sizeof(Word);
}

std::size_t max_pieces(const KeyLayout &key) {
    return key.members.size() + key.length / longest_piece;
}

KeyPlan make_plan(const TableLayout &table, std::size_t index, KeyPiece *pieces) {
    const KeyLayout &key = table.keys[index];
    const std::uint32_t flags = index == 0 ? 1 : 9;
    KeyPlan plan{
        static_cast<std::uint32_t>(index << 24) | flags << 16 | key.length, key.length, {}, {}};
    KeyPiece *last = nullptr;
    std::size_t at = 0;
    const auto add = [&](std::size_t record, std::size_t bytes) {
        // A member that follows the one before in the record, too, lengthens its piece.
        if (last != nullptr && last->record + last->bytes == record &&
            last->bytes + bytes <= longest_piece) {
            last->bytes = static_cast<std::uint16_t>(last->bytes + bytes);
        } else {
            last = last == nullptr ? &plan.head : pieces++;
            *last = {static_cast<std::uint16_t>(at), static_cast<std::uint16_t>(record),
                     static_cast<std::uint16_t>(bytes)};
        }
        at += bytes;
    };
    const KeyPiece *const rest = pieces;
    for (const KeyMember &member : key.members)
        for (std::size_t done = 0; done < member.width; done += longest_piece)
            add(member.offset + done, std::min(member.width - done, longest_piece));
    plan.rest = {rest, pieces};
    return plan;
}

} // namespace l2vpn::platform
