// SPDX-License-Identifier: MIT
#include "platform/memory/key_plan.h"

namespace l2vpn::platform {

namespace {

Spot spot(std::uint32_t offset, std::uint32_t whole) {
    const std::uint32_t bytes = std::min<std::uint32_t>(whole, sizeof(Word));
    const std::uint32_t at = std::min(offset, whole - bytes);
    return {static_cast<std::uint16_t>(at), static_cast<std::uint8_t>(bytes),
            static_cast<std::uint8_t>((offset - at) * 8)};
}

} // namespace

std::size_t max_pieces(const KeyLayout &key) {
    std::size_t count = 0;
    for (const KeyMember &member : key.members)
        count += words_for(member.width);
    return count;
}

KeyPlan make_plan(const TableLayout &table, std::size_t index, KeyPiece *pieces) {
    const KeyLayout &key = table.keys[index];
    std::size_t count = 0;
    bool wide = true;
    constexpr std::uint32_t word = sizeof(Word);
    const auto add = [&](std::uint32_t at, std::uint32_t stored, std::uint32_t bytes) {
        pieces[count++] = {~Word{0} >> (64 - 8 * bytes), spot(at, key.length),
                           spot(stored, table.stored_length), static_cast<std::uint16_t>(stored)};
        wide = wide && bytes == word;
    };
    std::uint32_t at = 0;
    for (std::size_t member = 0; member < key.members.size();) {
        // Members that follow one another in the record, too, are as good as one.
        const std::uint32_t stored = key.members[member].offset;
        std::uint32_t run = 0;
        while (member < key.members.size() && key.members[member].offset == stored + run)
            run += key.members[member++].width;
        std::uint32_t done = 0;
        for (; done + word <= run; done += word)
            add(at + done, stored + done, word);
        // The last piece may overlap the one before it.
        if (done < run && run > word)
            add(at + run - word, stored + run - word, word);
        else if (done < run)
            add(at, stored, run);
        at += run;
    }
    const std::uint32_t flags = index == 0 ? 1 : 9;
    return {{pieces, count},
            wide,
            static_cast<std::uint32_t>(index << 24) | flags << 16 | key.length,
            key.length};
}

} // namespace l2vpn::platform
